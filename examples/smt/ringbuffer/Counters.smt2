; The implementation keeps 32-bit counters r and w that run freely and wrap around; the slot is
; the counter's low six bits, the length is the difference.
(set-logic ALL)

(declare-const r (_ BitVec 32))
(declare-const w (_ BitVec 32))
(define-fun slot ((c (_ BitVec 32))) (_ BitVec 32) (bvand c #x0000003f))

; Counters.1: slot inside
(push)
(assert (not (bvult (slot w) #x00000040)))
(check-sat)
(pop)

; Counters.2: masking is the remainder
(push)
(assert (not (= (slot w) (bvurem w #x00000040))))
(check-sat)
(pop)

; Counters.3: put counts one more, also when the counter wraps
(push)
(assert (not (= (bvsub (bvadd w #x00000001) r) (bvadd (bvsub w r) #x00000001))))
(check-sat)
(pop)

; Counters.4: put keeps the length in range
(push)
(assert (bvult (bvsub w r) #x00000040))
(assert (not (bvule (bvsub (bvadd w #x00000001) r) #x00000040)))
(check-sat)
(pop)

; Counters.5: a full ring has its positions together
(push)
(assert (= (bvsub w r) #x00000040))
(assert (not (= (slot w) (slot r))))
(check-sat)
(pop)

; Counters.6: the next slot
(push)
(assert (not (= (slot (bvadd w #x00000001))
                (ite (= (slot w) #x0000003f) #x00000000 (bvadd (slot w) #x00000001)))))
(check-sat)
(pop)

; Counters.7: any power of two can be the capacity
; On 8 bits: c is a power of two, and masking with c - 1 is the remainder by c.
(push)
(declare-const c (_ BitVec 8))
(declare-const x (_ BitVec 8))
(assert (not (= c #x00)))
(assert (= #x00 (bvand c (bvsub c #x01))))
(assert (not (= (bvurem x c) (bvand x (bvsub c #x01)))))
(check-sat)
(pop)

; Counters.8: NOT VALID: counters are ordered
; A mistake that tests seldom find: false as soon as w has wrapped around and r has not, for
; instance r = #xffffffff and w = #x00000000.
(push)
(assert (bvule (bvsub w r) #x00000040))
(assert (not (bvule r w)))
(check-sat)
(pop)
