; The queue behind the ring, as a list. The first two goals need induction: cvc5 does it when
; told to (driver "induction"), z3 never does.
(set-logic ALL)

(declare-datatypes ((Queue 0)) (((empty) (before (first Int) (rest Queue)))))
(define-fun-rec size ((q Queue)) Int
  (ite ((_ is empty) q) 0 (+ 1 (size (rest q)))))
(define-fun-rec put ((q Queue) (x Int)) Queue
  (ite ((_ is empty) q) (before x empty) (before (first q) (put (rest q) x))))

; Queue.1: a size is not negative
(push)
(assert (not (forall ((q Queue)) (>= (size q) 0))))
(check-sat)
(pop)

; Queue.2: put makes the queue longer by one
(push)
(assert (not (forall ((q Queue) (x Int)) (= (size (put q x)) (+ 1 (size q))))))
(check-sat)
(pop)

; Queue.3: put on an empty queue
(push)
(declare-const x Int)
(assert (not (= x (first (put empty x)))))
(check-sat)
(pop)
