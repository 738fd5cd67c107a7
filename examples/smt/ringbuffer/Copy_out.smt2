; Copy_out takes n bytes in at most two pieces: up to the end of the ring, and the rest from its
; beginning.
(set-logic ALL)

; The ring.
(define-fun CAP () Int 64)
(define-fun inside ((p Int)) Bool (and (<= 0 p) (< p CAP)))
(define-fun byte ((b Int)) Bool (and (<= 0 b) (<= b 255)))
(define-fun next ((p Int)) Int (ite (= p (- CAP 1)) 0 (+ p 1)))
(define-fun congruent ((a Int) (b Int)) Bool (= (mod a CAP) (mod b CAP)))

(declare-const rd Int)
(declare-const len Int)
(declare-const n Int)
(define-fun piece1 () Int (ite (<= (+ rd n) CAP) n (- CAP rd)))
(define-fun piece2 () Int (- n piece1))
(assert (inside rd))
(assert (<= 0 len))
(assert (<= len CAP))
(assert (<= 0 n))
(assert (<= n len))

; Copy_out.1: first piece ends inside the ring
(push)
(assert (not (and (<= 0 piece1) (<= (+ rd piece1) CAP))))
(check-sat)
(pop)

; Copy_out.2: second piece ends before the first begins
(push)
(assert (not (and (<= 0 piece2) (<= piece2 rd))))
(check-sat)
(pop)

; Copy_out.3: the pieces make up the whole
(push)
(assert (not (= n (+ piece1 piece2))))
(check-sat)
(pop)

; Copy_out.4: a second piece only after wrapping
(push)
(assert (> piece2 0))
(assert (not (= 0 (mod (+ rd piece1) CAP))))
(check-sat)
(pop)

; Copy_out.5: new read position
(push)
(assert (not (congruent (ite (= piece2 0) (+ rd piece1) piece2) (+ rd n))))
(check-sat)
(pop)

; Copy_out.6: copied bytes are the bytes of the ring
; dst is filled by two array copies, given by what each of them guarantees.
(push)
(declare-const buf (Array Int Int))
(declare-const dst (Array Int Int))
(declare-const o Int)
(assert (forall ((k Int)) (=> (and (<= 0 k) (< k piece1))
                              (= (select dst k) (select buf (+ rd k))))))
(assert (forall ((k Int)) (=> (and (<= piece1 k) (< k n))
                              (= (select dst k) (select buf (- k piece1))))))
(assert (<= 0 o))
(assert (< o n))
(assert (not (= (select dst o)
                (select buf (ite (< (+ rd o) CAP) (+ rd o) (- (+ rd o) CAP))))))
(check-sat)
(pop)
