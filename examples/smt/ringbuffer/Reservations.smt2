; Reservations: finite sets of slots, in cvc5's notation. z3 does not know it, and what is left
; of the goals after its errors can be satisfied: a reader that believed its "sat" would call
; valid goals disproved. So z3's mechanism has the writer skip them.
(set-logic ALL)

(declare-const free (Set Int))
(declare-const used (Set Int))
(declare-const s Int)
(assert (= (set.inter free used) (as set.empty (Set Int))))
(assert (set.member s free))

; Reservations.1: a free slot is not used
(push)
(assert (not (not (set.member s used))))
(check-sat)
(pop)

; Reservations.2: reserving keeps the sets apart
(push)
(assert (not (= (set.inter (set.minus free (set.singleton s)) (set.union used (set.singleton s)))
                (as set.empty (Set Int)))))
(check-sat)
(pop)

; Reservations.3: reserving loses no slot
(push)
(declare-const k Int)
(assert (set.member k (set.union free used)))
(assert (not (set.member k (set.union (set.minus free (set.singleton s))
                                      (set.union used (set.singleton s))))))
(check-sat)
(pop)
