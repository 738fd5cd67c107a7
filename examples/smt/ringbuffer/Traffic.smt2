; Traffic: non-linear integers. Products of two unknowns are beyond any complete method, so the
; provers part here.
(set-logic ALL)

; Traffic.1: more time or more speed is more bytes
(push)
(declare-const rate1 Int)
(declare-const rate2 Int)
(declare-const time1 Int)
(declare-const time2 Int)
(assert (<= 0 rate1 rate2))
(assert (<= 0 time1 time2))
(assert (not (<= (* rate1 time1) (* rate2 time2))))
(check-sat)
(pop)

; Traffic.2: a byte of a table of records lies inside the table
(push)
(declare-const records Int)
(declare-const width Int)
(declare-const i Int)
(declare-const j Int)
(assert (> records 0))
(assert (> width 0))
(assert (<= 0 i))
(assert (< i records))
(assert (<= 0 j))
(assert (< j width))
(assert (not (< (+ (* i width) j) (* records width))))
(check-sat)
(pop)

; Traffic.3: whole records and the rest
(push)
(declare-const bytes Int)
(declare-const width Int)
(assert (> width 0))
(assert (>= bytes 0))
(assert (not (and (<= (* (div bytes width) width) bytes)
                  (< bytes (+ (* (div bytes width) width) width)))))
(check-sat)
(pop)

; Traffic.4: whole records leave no rest
; cvc5 proves it at once, z3 searches without end.
(push)
(declare-const records Int)
(declare-const width Int)
(assert (> width 0))
(assert (not (= 0 (mod (* records width) width))))
(check-sat)
(pop)

; Traffic.5: equal shares use a link best
; 4ab <= (a + b)^2: z3 proves it at once, cvc5 searches without end.
(push)
(declare-const a Int)
(declare-const b Int)
(assert (not (<= (* 4 a b) (* (+ a b) (+ a b)))))
(check-sat)
(pop)

; Traffic.6: NOT VALID: a product is at least its factors
; False when a factor is 0.
(push)
(declare-const a Int)
(declare-const b Int)
(assert (>= a 0))
(assert (>= b 0))
(assert (not (>= (* a b) a)))
(check-sat)
(pop)
