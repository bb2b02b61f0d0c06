;; Loads and stores of every width, alignment and offset; size and grow.
(module
  (memory 1 3)
  (data (i32.const 0) "\00\01\02\03\80\81\fe\ff\7f\55\aa\00\ff\ff\ff\7f")
  (data (i32.const 65528) "endofmem")
  (func (export "l8s") (param i32) (result i32) (i32.load8_s (local.get 0)))
  (func (export "l8u") (param i32) (result i32) (i32.load8_u offset=3 (local.get 0)))
  (func (export "l16s") (param i32) (result i32) (i32.load16_s offset=1 align=1 (local.get 0)))
  (func (export "l16u") (param i32) (result i32) (i32.load16_u align=1 (local.get 0)))
  (func (export "l32") (param i32) (result i32) (i32.load align=1 (local.get 0)))
  (func (export "q8s") (param i32) (result i64) (i64.load8_s (local.get 0)))
  (func (export "q8u") (param i32) (result i64) (i64.load8_u (local.get 0)))
  (func (export "q16s") (param i32) (result i64) (i64.load16_s (local.get 0)))
  (func (export "q16u") (param i32) (result i64) (i64.load16_u offset=2 (local.get 0)))
  (func (export "q32s") (param i32) (result i64) (i64.load32_s align=2 (local.get 0)))
  (func (export "q32u") (param i32) (result i64) (i64.load32_u (local.get 0)))
  (func (export "q64") (param i32) (result i64) (i64.load align=1 (local.get 0)))
  (func (export "f") (param i32) (result i32) (i32.reinterpret_f32 (f32.load (local.get 0))))
  (func (export "d") (param i32) (result i64) (i64.reinterpret_f64 (f64.load align=2 (local.get 0))))
  (func (export "s8") (param i32 i32) (i32.store8 (local.get 0) (local.get 1)))
  (func (export "s16") (param i32 i32) (i32.store16 offset=1 align=1 (local.get 0) (local.get 1)))
  (func (export "s32") (param i32 i32) (i32.store offset=4 (local.get 0) (local.get 1)))
  (func (export "sq8") (param i32 i64) (i64.store8 (local.get 0) (local.get 1)))
  (func (export "sq16") (param i32 i64) (i64.store16 (local.get 0) (local.get 1)))
  (func (export "sq32") (param i32 i64) (i64.store32 (local.get 0) (local.get 1)))
  (func (export "sq64") (param i32 i64) (i64.store align=1 (local.get 0) (local.get 1)))
  (func (export "sf") (param i32 i32) (f32.store (local.get 0) (f32.reinterpret_i32 (local.get 1))))
  (func (export "sd") (param i32 i64) (f64.store align=1 (local.get 0) (f64.reinterpret_i64 (local.get 1))))
  (func (export "copied") (param i32 i32) (f32.store (local.get 0) (f32.load (local.get 1))))
  (func (export "copied_double") (param i32 i32) (f64.store (local.get 0) (f64.load (local.get 1))))
  (func (export "add_to") (param i32 i32) (i32.store (local.get 0) (i32.add (i32.load (local.get 0)) (local.get 1))))
  (func (export "add_to_8") (param i32 i32) (i32.store8 (local.get 0) (i32.add (i32.load8_u (local.get 0)) (local.get 1))))
  (func (export "sub_from") (param i32 i32) (i32.store offset=8 (local.get 0) (i32.sub (i32.load offset=8 (local.get 0)) (local.get 1))))
  (func (export "from_sub") (param i32 i32) (i32.store offset=8 (local.get 0) (i32.sub (local.get 1) (i32.load offset=8 (local.get 0)))))
  (func (export "or_64") (param i32 i64) (i64.store (local.get 0) (i64.or (i64.load (local.get 0)) (local.get 1))))
  (func (export "xor_other") (param i32 i32) (i32.store (local.get 0) (i32.xor (i32.load offset=4 (local.get 0)) (local.get 1))))
  (func (export "shift_in") (param i32) (i32.store (local.get 0) (i32.shl (i32.load (local.get 0)) (i32.const 33))))
  (func (export "fixed") (result i32) (i32.load offset=4 (i32.const 65528)))
  (func (export "fixed_store") (param i32) (i32.store (i32.const 65524) (local.get 0)))
  (func (export "indexed") (param i32) (result i32) (i32.load16_u offset=4 (i32.shl (local.get 0) (i32.const 1))))
  (func (export "sum_address") (param i32 i32) (result i32) (i32.load8_u offset=1 (i32.add (local.get 0) (local.get 1))))
  (func (export "constant_address") (param i32) (result i32) (i32.load8_u offset=1 (i32.add (local.get 0) (i32.const 4))))
  (func (export "wrapped_address") (param i32) (result i32) (i32.load8_u (i32.add (local.get 0) (i32.const -4))))
  (func (export "size") (result i32) (memory.size))
  (func (export "grow") (param i32) (result i32) (memory.grow (local.get 0)))
)
;; run
;; l8s 3
;; l8s 4
;; l8u 1
;; l8u 4
;; l16s 3
;; l16s 5
;; l16u 4
;; l32 4
;; l32 5
;; q8s 4
;; q8u 4
;; q16s 6
;; q16u 4
;; q32s 4
;; q32s 12
;; q32u 4
;; q64 4
;; q64 1
;; f 4
;; d 1
;; s8 20 0x1FF
;; s16 20 0x12345
;; s32 20 -2
;; q64 20
;; sq8 32 0x1FFL
;; sq16 33 0xABCDEL
;; sq32 36 0x123456789AL
;; q64 32
;; sq64 41 0x1122334455667788L
;; q64 40
;; q64 48
;; sf 60 0x7FA00001
;; l32 60
;; sd 65 0x7FF4000000000001L
;; q64 64
;; copied 80 60
;; l32 80
;; copied_double 90 65
;; q64 90
;; add_to 20 5
;; add_to_8 20 255
;; l32 20
;; sub_from 20 1
;; from_sub 20 1000
;; l32 28
;; or_64 20 0x8000000000000001L
;; xor_other 20 0x0F0F0F0F
;; shift_in 20
;; q64 20
;; fixed
;; fixed_store 0x61626364
;; q64 65524
;; indexed 3
;; sum_address 2 2
;; constant_address 0
;; wrapped_address 8
;; size
;; grow 0
;; grow 1
;; l32 65536
;; s32 131064 77
;; l32 131068
;; grow 2
;; grow 1
;; grow 1
;; size
;; grow 0x10000
;; grow -1
;; l32 196604
