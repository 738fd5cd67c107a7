; Estimates: real numbers. z3 has a complete method for polynomials, cvc5 knows some facts about
; the exponential function, a symbol that z3 does not know: it prints an error and then still
; answers for the rest of the goal.
(set-logic ALL)

; Estimates.1: the harmonic mean is below the arithmetic mean
; Only z3.
(push)
(declare-const a Real)
(declare-const b Real)
(assert (< 0.0 a))
(assert (< a b))
(assert (not (< (/ (* 2.0 a b) (+ a b)) (/ (+ a b) 2.0))))
(check-sat)
(pop)

; Estimates.2: the error bound is positive
; Only z3.
(push)
(declare-const x Real)
(declare-const y Real)
(assert (not (> (+ (* x x x x) (* y y y y) 1.0) (* 2.0 x y))))
(check-sat)
(pop)

; Estimates.3: the smoothing factor lies between 0 and 1
; Only cvc5.
(push)
(declare-const t Real)
(assert (> t 0.0))
(assert (not (and (> (exp (- t)) 0.0) (< (exp (- t)) 1.0))))
(check-sat)
(pop)

; Estimates.4: exponential growth is more than linear
; Only cvc5.
(push)
(declare-const t Real)
(assert (> t 0.0))
(assert (not (> (exp t) (+ 1.0 t))))
(check-sat)
(pop)

; Estimates.5: a running mean stays in range
(push)
(declare-const mean Real)
(declare-const sample Real)
(declare-const share Real)
(assert (<= 0.0 mean))
(assert (<= mean 255.0))
(assert (<= 0.0 sample))
(assert (<= sample 255.0))
(assert (<= 0.0 share))
(assert (<= share 1.0))
(assert (not (<= 0.0 (+ (* share sample) (* (- 1.0 share) mean)) 255.0)))
(check-sat)
(pop)
