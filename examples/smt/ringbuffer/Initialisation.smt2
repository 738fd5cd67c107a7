; The ring starts empty, all slots zero. Easy for every prover; two goals were discharged by the
; component's own proof process.
(set-logic ALL)

; The ring.
(define-fun CAP () Int 64)
(define-fun inside ((p Int)) Bool (and (<= 0 p) (< p CAP)))
(define-fun byte ((b Int)) Bool (and (<= 0 b) (<= b 255)))
(define-fun next ((p Int)) Int (ite (= p (- CAP 1)) 0 (+ p 1)))
(define-fun congruent ((a Int) (b Int)) Bool (= (mod a CAP) (mod b CAP)))

; Initialisation.1: read position inside
(push)
(assert (not (inside 0)))
(check-sat)
(pop)

; Initialisation.2: length in range
(push)
(assert (not (and (<= 0 0) (<= 0 CAP))))
(check-sat)
(pop)

; Initialisation.3: positions agree with length
(push)
(assert (not (congruent 0 (+ 0 0))))
(check-sat)
(pop)

; Initialisation.4: slots hold bytes
(push)
(assert (not (forall ((k Int)) (=> (inside k) (byte (select ((as const (Array Int Int)) 0) k))))))
(check-sat)
(pop)
