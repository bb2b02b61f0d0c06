;; Tables: filling, copying, calls through them with all kinds of types.
(module
  (type $i (func (result i32)))
  (type $same_as_i (func (result i32)))
  (type $ii (func (param i32) (result i32)))
  (type $II (func (param i64) (result i64)))
  (type $two (func (param i32 i64) (result i64 i32)))
  (table $t 10 20 funcref)
  (elem (i32.const 1) $one $two $three)
  (elem (i32.const 5) $double $half)
  (elem $p func $three $two $one $pair)
  (func $one (type $i) (i32.const 1))
  (func $two (type $same_as_i) (i32.const 2))
  (func $three (result i32) (i32.const 3))
  (func $double (type $ii) (i32.mul (local.get 0) (i32.const 2)))
  (func $half (type $II) (i64.shr_u (local.get 0) (i64.const 1)))
  (func $pair (type $two) (local.get 1) (local.get 0))
  (func (export "i") (param i32) (result i32) (call_indirect (type $i) (local.get 0)))
  (func (export "i2") (param i32) (result i32) (call_indirect (type $same_as_i) (local.get 0)))
  (func (export "ii") (param i32 i32) (result i32) (call_indirect (type $ii) (local.get 0) (local.get 1)))
  (func (export "II") (param i64 i32) (result i64) (call_indirect (type $II) (local.get 0) (local.get 1)))
  (func (export "pair") (param i32 i64 i32) (result i64 i32) (call_indirect (type $two) (local.get 0) (local.get 1) (local.get 2)))
  (func (export "init") (param i32 i32 i32) (table.init $t $p (local.get 0) (local.get 1) (local.get 2)))
  (func (export "drop") (elem.drop $p))
  (func (export "copy") (param i32 i32 i32) (table.copy (local.get 0) (local.get 1) (local.get 2)))
  (func (export "argument_first") (param i32) (result i32)
    (call_indirect (type $ii) (local.tee 0 (i32.add (local.get 0) (i32.const 1))) (local.tee 0 (i32.const 5))))
)
;; run
;; i 1
;; i 2
;; i2 1
;; i 3
;; ii 21 5
;; II 0xF000000000000000L 6
;; argument_first 4
;; copy 2 1 3
;; i 2
;; i 3
;; i 4
;; copy 1 2 3
;; i 1
;; i 2
;; i 3
;; init 7 0 3
;; i 7
;; i 9
;; init 0 3 1
;; pair 5 6L 0
;; init 10 4 0
;; copy 10 10 0
;; drop
;; init 0 0 0
;; i 0
;; run
;; i 5
;; run
;; i 4
;; run
;; i 10
;; run
;; II 1L 1
;; run
;; ii 1 0
;; run
;; init 0 2 3
;; run
;; init 9 0 2
;; run
;; copy 9 0 2
;; run
;; copy 0 9 2
;; run
;; drop
;; init 0 0 1
