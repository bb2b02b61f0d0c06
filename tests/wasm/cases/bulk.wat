;; Filling, copying (overlapping too), passive segments.
(module
  (memory 1)
  (data (i32.const 0) "abcdefghijklmnop")
  (data $p "PASSIVE")
  (data $q "")
  (func (export "fill") (param i32 i32 i32) (memory.fill (local.get 0) (local.get 1) (local.get 2)))
  (func (export "copy") (param i32 i32 i32) (memory.copy (local.get 0) (local.get 1) (local.get 2)))
  (func (export "init") (param i32 i32 i32) (memory.init $p (local.get 0) (local.get 1) (local.get 2)))
  (func (export "init_none") (memory.init $q (i32.const 5) (i32.const 0) (i32.const 0)))
  (func (export "drop") (data.drop $p))
  (func (export "fill_8") (param i32) (memory.fill (local.get 0) (i32.const 0x41) (i32.const 8)))
  (func (export "fill_7") (param i32 i32) (memory.fill (local.get 0) (local.get 1) (i32.const 7)))
  (func (export "fill_0") (param i32) (memory.fill (local.get 0) (i32.const 0) (i32.const 100)))
  (func (export "copy_8") (param i32 i32) (memory.copy (local.get 0) (local.get 1) (i32.const 8)))
  (func (export "copy_16") (param i32 i32) (memory.copy (local.get 0) (local.get 1) (i32.const 16)))
  (func (export "copy_12") (param i32 i32) (memory.copy (local.get 0) (local.get 1) (i32.const 12)))
  (func (export "copy_0") (param i32 i32) (memory.copy (local.get 0) (local.get 1) (i32.const 0)))
  (func (export "at") (param i32) (result i64) (i64.load (local.get 0)))
)
;; run
;; copy 4 0 8
;; at 0
;; at 8
;; copy 0 2 9
;; at 0
;; at 8
;; fill 3 0x1FF 2
;; at 0
;; fill 20 7 0
;; fill_8 30
;; at 28
;; at 36
;; fill_7 50 0x12345680
;; at 50
;; copy_8 3 0
;; at 3
;; copy_16 1 0
;; at 1
;; at 9
;; copy_12 0 3
;; at 0
;; at 8
;; copy_0 5 6
;; at 5
;; fill_0 0
;; at 92
;; at 96
;; init 100 0 7
;; at 100
;; init 101 2 3
;; at 100
;; init_none
;; copy 2000 100 1000
;; at 2000
;; fill 1000 9 500
;; copy 1001 1000 498
;; at 1494
;; copy 0 0 65536
;; drop
