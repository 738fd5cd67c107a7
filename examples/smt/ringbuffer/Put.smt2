; Put stores the byte x at wr when there is room. Linear integers and arrays.
(set-logic ALL)

; The ring.
(define-fun CAP () Int 64)
(define-fun inside ((p Int)) Bool (and (<= 0 p) (< p CAP)))
(define-fun byte ((b Int)) Bool (and (<= 0 b) (<= b 255)))
(define-fun next ((p Int)) Int (ite (= p (- CAP 1)) 0 (+ p 1)))
(define-fun congruent ((a Int) (b Int)) Bool (= (mod a CAP) (mod b CAP)))

(declare-const rd Int)
(declare-const wr Int)
(declare-const len Int)
(declare-const buf (Array Int Int))
(declare-const x Int)
(assert (inside rd))
(assert (inside wr))
(assert (<= 0 len))
(assert (<= len CAP))
(assert (congruent wr (+ rd len)))
(assert (< len CAP))  ; there is room
(assert (byte x))

; Put.1: write position stays inside
(push)
(assert (not (inside (next wr))))
(check-sat)
(pop)

; Put.2: length stays in range
(push)
(assert (not (and (<= 0 (+ len 1)) (<= (+ len 1) CAP))))
(check-sat)
(pop)

; Put.3: positions still agree with length
(push)
(assert (not (congruent (next wr) (+ rd (+ len 1)))))
(check-sat)
(pop)

; Put.4: the byte is stored
(push)
(assert (not (= x (select (store buf wr x) wr))))
(check-sat)
(pop)

; Put.5: other slots keep their bytes
(push)
(declare-const k Int)
(assert (inside k))
(assert (not (= k wr)))
(assert (not (= (select (store buf wr x) k) (select buf k))))
(check-sat)
(pop)

; Put.6: no waiting byte is overwritten
; The o-th waiting byte lies at rd + o modulo 64.
(push)
(declare-const o Int)
(assert (<= 0 o))
(assert (< o len))
(assert (not (not (= wr (mod (+ rd o) CAP)))))
(check-sat)
(pop)

; Put.7: all slots still hold bytes
(push)
(assert (forall ((k Int)) (=> (inside k) (byte (select buf k)))))
(assert (not (forall ((k Int)) (=> (inside k) (byte (select (store buf wr x) k))))))
(check-sat)
(pop)
