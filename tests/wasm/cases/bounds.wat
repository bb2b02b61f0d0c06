;; options: check-bounds
;; The ends of memory, exactly.
(module
  (memory 1 2)
  (data $d "0123456789")
  (func (export "l8") (param i32) (result i32) (i32.load8_u (local.get 0)))
  (func (export "l16") (param i32) (result i32) (i32.load16_u (local.get 0)))
  (func (export "l32") (param i32) (result i32) (i32.load (local.get 0)))
  (func (export "l64") (param i32) (result i64) (i64.load (local.get 0)))
  (func (export "l32o") (param i32) (result i32) (i32.load offset=65532 (local.get 0)))
  (func (export "l32m") (param i32) (result i32) (i32.load offset=0xFFFFFFFF (local.get 0)))
  (func (export "l64h") (param i32) (result i64) (i64.load offset=0x80000000 (local.get 0)))
  (func (export "constant") (result i32) (i32.load8_u offset=1 (i32.const 65535)))
  (func (export "constant_in") (result i32) (i32.load8_u offset=1 (i32.const 65534)))
  (func (export "sum") (param i32) (result i32) (i32.load8_u (i32.add (local.get 0) (i32.const 4))))
  (func (export "s8") (param i32) (i32.store8 (local.get 0) (i32.const 1)))
  (func (export "s16") (param i32) (i32.store16 (local.get 0) (i32.const 1)))
  (func (export "s32") (param i32) (i32.store (local.get 0) (i32.const 1)))
  (func (export "s64") (param i32) (i64.store (local.get 0) (i64.const -1)))
  (func (export "sd") (param i32) (f64.store (local.get 0) (f64.const 1)))
  (func (export "rmw") (param i32) (i32.store offset=4 (local.get 0) (i32.add (i32.load offset=4 (local.get 0)) (i32.const 1))))
  (func (export "dropped") (param i32) (drop (i32.load (local.get 0))))
  (func (export "fill") (param i32 i32 i32) (memory.fill (local.get 0) (local.get 1) (local.get 2)))
  (func (export "copy") (param i32 i32 i32) (memory.copy (local.get 0) (local.get 1) (local.get 2)))
  (func (export "init") (param i32 i32 i32) (memory.init $d (local.get 0) (local.get 1) (local.get 2)))
  (func (export "drop") (data.drop $d))
  (func (export "grow") (result i32) (memory.grow (i32.const 1)))
)
;; run
;; l8 65535
;; l16 65534
;; l32 65532
;; l64 65528
;; constant_in
;; l32o 0
;; sum 65531
;; sum -1
;; s8 65535
;; s16 65534
;; s32 65532
;; s64 65528
;; sd 65528
;; rmw 65528
;; l64 65528
;; fill 65535 1 1
;; fill 65536 1 0
;; copy 65536 65536 0
;; copy 65500 0 36
;; init 65526 0 10
;; init 65536 10 0
;; drop
;; init 65536 0 0
;; l8 65536
;; run
;; l16 65535
;; run
;; l32 65533
;; run
;; l64 65529
;; run
;; l64 -8
;; run
;; l8 -1
;; run
;; l32o 1
;; run
;; l32o -4
;; run
;; l32m 0
;; run
;; l32m 1
;; run
;; l64h 0x80000000
;; run
;; constant
;; run
;; sum 65532
;; run
;; sum -5
;; run
;; s8 65536
;; run
;; s16 65535
;; run
;; s32 65533
;; run
;; s64 65529
;; run
;; sd -1
;; run
;; rmw 65529
;; run
;; dropped 65533
;; run
;; fill 65535 1 2
;; run
;; fill 65537 1 0
;; run
;; fill 0 1 -1
;; run
;; copy 0 65535 2
;; run
;; copy 65535 0 2
;; run
;; copy 65537 0 0
;; run
;; copy 0 65537 0
;; run
;; init 0 5 6
;; run
;; init 65530 0 7
;; run
;; init 0 11 0
;; run
;; drop
;; init 0 0 1
;; run
;; drop
;; drop
;; init 0 1 0
;; run
;; grow
;; l8 65536
;; s64 131064
;; l64 131064
;; l8 131072
