;; Globals of all types, a start function, an export twice, segments behind a global's value.
(module
  (global $a (mut i32) (i32.const -5))
  (global $b (mut i64) (i64.const 0x123456789ABCDEF))
  (global $c (mut f32) (f32.const -0x1.8p1))
  (global $d (mut f64) (f64.const nan:0x4000000000001))
  (global $e i32 (i32.const 77))
  (global $f i64 (i64.const -1))
  (memory 1)
  (table 3 funcref)
  (data (i32.const 8) "\01\02\03\04")
  (data (i32.const 10) "\09")
  (start $begin)
  (func $begin
    (global.set $a (i32.add (global.get $a) (i32.const 1)))
    (i32.store (i32.const 0) (i32.load (i32.const 8))))
  (func $a_get (export "a") (export "also a") (export "\"quoted\" \e2\82\ac") (result i32) (global.get $a))
  (func (export "set_a") (param i32) (global.set $a (local.get 0)))
  (func (export "b") (result i64) (global.get $b))
  (func (export "add_b") (param i64) (global.set $b (i64.add (global.get $b) (local.get 0))))
  (func (export "c") (result i32) (i32.reinterpret_f32 (global.get $c)))
  (func (export "set_c") (param i32) (global.set $c (f32.reinterpret_i32 (local.get 0))))
  (func (export "d") (result i64) (i64.reinterpret_f64 (global.get $d)))
  (func (export "set_d") (param i64) (global.set $d (f64.reinterpret_i64 (local.get 0))))
  (func (export "e") (result i32) (global.get $e))
  (func (export "f") (result i64) (global.get $f))
  (func (export "started") (result i32) (i32.load (i32.const 0)))
  (func (export "") (result i32) (i32.const 99))
)
;; run
;; a
;; started
;; b
;; c
;; d
;; e
;; f
;; set_a 0xFFFFFFFF
;; a
;; add_b -1L
;; b
;; set_c 0x7FA12345
;; c
;; set_d 0xFFF0000000000001L
;; d
