(set-option :global-declarations true) (push) (declare-fun |a ; b| () String)
(assert (= |a ; b| "c""(" ; comment )
)) (check-sat-assuming ((not (= |a ; b| "")) true)) (pop) (check-sat) (reset-assertions)
(check-sat) (reset) (set-info :status sat) (check-sat) (push 3) (pop 2) (assert |x|) (check-sat) (exit) )
