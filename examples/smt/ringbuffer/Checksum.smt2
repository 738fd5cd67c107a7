; The checksum: s' = 31 s xor x on 16 bits.
(set-logic ALL)

(declare-const s (_ BitVec 16))
(declare-const x (_ BitVec 16))
(define-fun step ((s (_ BitVec 16)) (x (_ BitVec 16))) (_ BitVec 16)
  (bvxor (bvmul s #x001f) x))

; Checksum.1: two different bytes give two sums
(push)
(declare-const y (_ BitVec 16))
(assert (not (= x y)))
(assert (not (not (= (step s x) (step s y)))))
(check-sat)
(pop)

; Checksum.2: multiplying by 31 is a shift and a difference
(push)
(assert (not (= (bvmul s #x001f) (bvsub (bvshl s #x0005) s))))
(check-sat)
(pop)

; Checksum.3: NOT VALID: no byte leaves the sum unchanged
(push)
(assert (not (not (= s (step s x)))))
(check-sat)
(pop)

; Checksum.4: the long modulus is no product of two words
; Valid, since 2^60 - 93 = #x0fffffffffffffa3 is prime; but no prover finds that out in seconds.
; It is here to run into the time limit.
(push)
(declare-const a (_ BitVec 64))
(declare-const b (_ BitVec 64))
(assert (bvugt a #x0000000000000001))
(assert (bvult a #x0000000080000000))
(assert (bvult b #x0000000080000000))
(assert (not (not (= (bvmul a b) #x0fffffffffffffa3))))
(check-sat)
(pop)
