(set-option :global-declarations true)(declare-const a Int)(set-option :global-declarations false)(check-sat)
