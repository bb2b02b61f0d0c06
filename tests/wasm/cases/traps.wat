;; Every trap, in functions with names. A line "run" starts the module anew.
(module
  (type $ii (func (param i32) (result i32)))
  (type $none (func))
  (memory 1)
  (table 6 funcref)
  (elem (i32.const 0) $same $nothing $long)
  (func $same (param i32) (result i32) (local.get 0))
  (func $nothing)
  (func $long (param i64) (result i64) (local.get 0))
  (func $stop (export "unreachable") unreachable)
  (func $stop_later (export "unreachable_if") (param i32) (result i32)
    (if (local.get 0) (then unreachable)) (i32.const 7))
  (func (export "div_s") (param i32 i32) (result i32) (i32.div_s (local.get 0) (local.get 1)))
  (func (export "div_u") (param i32 i32) (result i32) (i32.div_u (local.get 0) (local.get 1)))
  (func (export "rem_s") (param i32 i32) (result i32) (i32.rem_s (local.get 0) (local.get 1)))
  (func (export "rem_u") (param i32 i32) (result i32) (i32.rem_u (local.get 0) (local.get 1)))
  (func (export "div_s64") (param i64 i64) (result i64) (i64.div_s (local.get 0) (local.get 1)))
  (func (export "rem_s64") (param i64 i64) (result i64) (i64.rem_s (local.get 0) (local.get 1)))
  (func (export "div_dropped") (param i32 i32) (drop (i32.div_u (local.get 0) (local.get 1))))
  (func (export "rem_dropped") (param i32 i32) (drop (i32.rem_s (local.get 0) (local.get 1))))
  (func (export "div_constant") (param i32) (result i32) (i32.div_s (local.get 0) (i32.const 0)))
  (func (export "div_constants") (result i32) (i32.div_s (i32.const 0x80000000) (i32.const -1)))
  (func (export "rem_constants") (result i32) (i32.rem_s (i32.const 0x80000000) (i32.const -1)))
  (func $whole (export "convert") (param i32) (result i32)
    (i32.trunc_f32_s (f32.reinterpret_i32 (local.get 0))))
  (func $whole_dropped (export "convert_dropped") (param i32)
    (drop (i32.trunc_f32_u (f32.reinterpret_i32 (local.get 0)))))
  (func $wide (export "convert64") (param i64) (result i64)
    (i64.trunc_f64_u (f64.reinterpret_i64 (local.get 0))))
  (func (export "convert_constant") (result i64) (i64.trunc_f32_s (f32.const nan)))
  (func $indirect (export "indirect") (param i32 i32) (result i32)
    (call_indirect (type $ii) (local.get 0) (local.get 1)))
  (func (export "indirect_0") (param i32) (result i32)
    (call_indirect (type $ii) (local.get 0) (i32.const 0)))
  (func (export "indirect_wrong") (param i32) (result i32)
    (call_indirect (type $ii) (local.get 0) (i32.const 2)))
  (func $ever (export "ever") (result i32) (i32.add (call $ever) (i32.const 1)))
  (func $deep (export "deep") (param i32) (result i32)
    (if (result i32) (local.get 0)
      (then (i32.add (call $deep (i32.sub (local.get 0) (i32.const 1))) (i32.const 1)))
      (else (i32.const 0))))
  (func (export "divide_then_call") (param i32) (result i32)
    (i32.add (i32.div_u (i32.const 1) (local.get 0)) (call $same (i32.const 3))))
  (func (export "kept") (param i32) (result i32)
    (i32.store (i32.const 0) (i32.const 5))
    (drop (i32.div_u (i32.const 1) (local.get 0)))
    (i32.store (i32.const 0) (i32.const 6))
    (i32.load (i32.const 0)))
)
;; run
;; unreachable_if 0
;; deep 1000
;; unreachable
;; run
;; unreachable_if 1
;; run
;; div_s 7 -2
;; div_s 5 0
;; run
;; div_s 0x80000000 -1
;; run
;; div_u 5 0
;; run
;; rem_s 0x80000000 -1
;; rem_s -7 3
;; rem_s 5 0
;; run
;; rem_u 5 0
;; run
;; div_s64 0x8000000000000000L -1L
;; run
;; div_s64 1L 0L
;; run
;; rem_s64 0x8000000000000000L -1L
;; rem_s64 1L 0L
;; run
;; div_dropped 1 1
;; div_dropped 1 0
;; run
;; rem_dropped 0x80000000 -1
;; rem_dropped 1 0
;; run
;; div_constant 1
;; run
;; rem_constants
;; div_constants
;; run
;; convert 0xCF000000
;; convert 0x4EFFFFFF
;; convert 0x4F000000
;; run
;; convert 0xCF000001
;; run
;; convert 0x7FC00000
;; run
;; convert_dropped 0xBF7FFFFF
;; convert_dropped 0xBF800000
;; run
;; convert64 0x43EFFFFFFFFFFFFFL
;; convert64 0x43F0000000000000L
;; run
;; convert64 0xFFF8000000000000L
;; run
;; convert_constant
;; run
;; indirect 5 0
;; indirect_0 6
;; indirect 5 1
;; run
;; indirect 5 2
;; run
;; indirect 5 3
;; run
;; indirect 5 5
;; run
;; indirect 5 6
;; run
;; indirect 5 -1
;; run
;; indirect_wrong 1
;; run
;; ever
;; run
;; divide_then_call 1
;; divide_then_call 0
;; run
;; kept 1
;; kept 0
;; trap unreachable -> Trap: unreachable in stop
;; trap unreachable_if 1 -> Trap: unreachable in stop_later
;; trap convert 0x7FC00000 -> Trap: invalid conversion to integer in whole
;; trap convert_dropped 0x7F800000 -> Trap: integer overflow in whole_dropped
;; trap convert64 0xBFF0000000000000L -> Trap: integer overflow in wide
;; trap indirect 1 1 -> Trap: indirect call type mismatch in indirect
;; trap indirect 1 4 -> Trap: uninitialized element in indirect
;; trap indirect 1 100 -> Trap: undefined element in indirect
;; trap ever -> Trap: stack overflow in ever
