; Flow control: stop the sender at the high mark, start it again at the low mark. Two goals are
; not valid; their counterexamples are small.
(set-logic ALL)

; The ring.
(define-fun CAP () Int 64)
(define-fun inside ((p Int)) Bool (and (<= 0 p) (< p CAP)))
(define-fun byte ((b Int)) Bool (and (<= 0 b) (<= b 255)))
(define-fun next ((p Int)) Int (ite (= p (- CAP 1)) 0 (+ p 1)))
(define-fun congruent ((a Int) (b Int)) Bool (= (mod a CAP) (mod b CAP)))

(declare-const low Int)
(declare-const high Int)
(declare-const len Int)
(declare-const stopped Bool)
(assert (< 0 low))
(assert (< low high))
(assert (<= high (- CAP 8)))
(assert (<= 0 len))
(assert (<= len CAP))

; Watermarks.1: never stop and start at once
(push)
(assert (not (not (and (>= len high) (<= len low)))))
(check-sat)
(pop)

; Watermarks.2: bytes on their way still fit
; Up to eight bytes arrive after the stop.
(push)
(declare-const late Int)
(assert (= len high))
(assert (<= 0 late))
(assert (<= late 8))
(assert (not (<= (+ len late) CAP)))
(check-sat)
(pop)

; Watermarks.3: an empty ring starts the sender
(push)
(assert (= len 0))
(assert (not (<= len low)))
(check-sat)
(pop)

; Watermarks.4: NOT VALID: bytes on their way still fit
; As above, but it forgets that the stop may come late: len may be beyond high.
(push)
(declare-const late Int)
(assert (>= len high))
(assert (<= 0 late))
(assert (<= late 8))
(assert (not (<= (+ len late) CAP)))
(check-sat)
(pop)

; Watermarks.5: NOT VALID: a stopped sender means a full ring
(push)
(assert (=> stopped (> len low)))
(assert (not (=> stopped (>= len high))))
(check-sat)
(pop)
