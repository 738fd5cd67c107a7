; Get takes the byte at rd when one waits.
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
(assert (inside rd))
(assert (inside wr))
(assert (<= 0 len))
(assert (<= len CAP))
(assert (congruent wr (+ rd len)))
(assert (> len 0))  ; a byte waits

; Get.1: read position stays inside
(push)
(assert (not (inside (next rd))))
(check-sat)
(pop)

; Get.2: length stays in range
(push)
(assert (not (and (<= 0 (- len 1)) (<= (- len 1) CAP))))
(check-sat)
(pop)

; Get.3: positions still agree with length
(push)
(assert (not (congruent wr (+ (next rd) (- len 1)))))
(check-sat)
(pop)

; Get.4: the result is a byte
(push)
(assert (forall ((k Int)) (=> (inside k) (byte (select buf k)))))
(assert (not (byte (select buf rd))))
(check-sat)
(pop)

; Get.5: first in, first out
; What was waiting in place o + 1 now waits in place o.
(push)
(declare-const o Int)
(assert (<= 0 o))
(assert (< o (- len 1)))
(assert (not (= (select buf (mod (+ (next rd) o) CAP)) (select buf (mod (+ rd (+ o 1)) CAP)))))
(check-sat)
(pop)

; Get.6: get after put on an empty ring gives the byte back
(push)
(declare-const x Int)
(assert (= len 1))
(assert (not (= x (select (store buf (mod (+ wr 63) CAP) x) rd))))
(check-sat)
(pop)
