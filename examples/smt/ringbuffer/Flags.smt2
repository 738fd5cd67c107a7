; Flags of slots, merged with z3's own pointwise `or` of arrays. cvc5 does not know it and would
; stop at the error, so that the goals after it got no answer in the same run; cvc5's mechanism
; has the writer skip the goal.
(set-logic ALL)

(declare-const dirty (Array Int Bool))
(declare-const stale (Array Int Bool))
(declare-const k Int)

; Flags.1: setting a flag
(push)
(assert (not (select (store dirty k true) k)))
(check-sat)
(pop)

; Flags.2: merging keeps every flag
; Only z3.
(push)
(assert (select dirty k))
(assert (not (select ((_ map or) dirty stale) k)))
(check-sat)
(pop)

; Flags.3: clearing a flag
(push)
(assert (not (not (select (store dirty k false) k))))
(check-sat)
(pop)
