;; All forms of control flow.
(module
  (func $f2 (param i32) (result i32 i32) (local.get 0) (i32.add (local.get 0) (i32.const 1)))
  (func $f3 (result i32 i64 i32) (i32.const 1) (i64.const 2) (i32.const 3))
  (func (export "block") (result i32) (block (result i32) (i32.const 5)))
  (func (export "br") (param i32) (result i32)
    (block $a (result i32)
      (block $b (result i32)
        (br_if $b (i32.const 1) (i32.eq (local.get 0) (i32.const 0)))
        drop
        (br_if $a (i32.const 2) (i32.eq (local.get 0) (i32.const 1)))
        drop
        (br $a (i32.const 3)))
      (i32.add (i32.const 10))))
  (func (export "br_function") (param i32) (result i32)
    (br_if 0 (i32.const 11) (local.get 0)) drop
    (block (br 1 (i32.const 12)))
    (i32.const 13))
  (func (export "if_without_else") (param i32) (result i32)
    (if (local.get 0) (then (local.set 0 (i32.const 100))))
    (i32.add (local.get 0) (i32.const 1)))
  (func (export "if_params") (param i32) (result i32)
    (i32.const 3) (i32.const 4) (local.get 0)
    (if (param i32 i32) (result i32) (then i32.add) (else i32.sub)))
  (func (export "if_params_kept") (param i32) (result i32)
    (i32.const 7) (local.get 0)
    (if (param i32) (result i32) (then (i32.mul (i32.const 2)))))
  (func (export "loop") (param i32) (result i32) (local i32)
    (loop $l
      (local.set 1 (i32.add (local.get 1) (local.get 0)))
      (local.tee 0 (i32.sub (local.get 0) (i32.const 1)))
      (br_if $l (i32.gt_s (i32.const 0))))
    (local.get 1))
  (func (export "loop_params") (param i32) (result i32 i64)
    (local.get 0) (i64.const 1)
    (loop $l (param i32 i64) (result i32 i64)
      nop))
  (func (export "loop_carried") (param i32) (result i64) (local i64)
    (local.get 0) (i64.const 1)
    (loop $l (param i32 i64) (result i64)
      (local.set 1)
      (local.tee 0)
      (if (result i64)
        (then
          (i32.sub (local.get 0) (i32.const 1))
          (i64.mul (local.get 1) (i64.extend_i32_u (local.get 0)))
          (br $l))
        (else (local.get 1)))))
  (func (export "swap") (param i32 i32) (result i32 i32)
    (local.get 0) (local.get 1)
    (local.set 0) (local.set 1)
    (local.get 0) (local.get 1))
  (func (export "swap_loop") (param i32 i32 i32) (result i32 i32) (local i32)
    (loop $l
      (local.set 3 (local.get 0))
      (local.set 0 (local.get 1))
      (local.set 1 (local.get 3))
      (br_if $l (local.tee 2 (i32.sub (local.get 2) (i32.const 1)))))
    (local.get 0) (local.get 1))
  (func (export "multi") (param i32) (result i32 i32) (call $f2 (local.get 0)))
  (func (export "multi_block") (param i32) (result i32)
    (block (result i32 i32) (call $f2 (local.get 0))) i32.mul)
  (func (export "multi_br") (param i32) (result i32 i32)
    (block $b (result i32 i32)
      (i32.const 8) (i32.const 9)
      (br_if $b (local.get 0))
      i32.add (i32.const 77)))
  (func (export "multi_3") (result i32 i64 i32) (call $f3))
  (func (export "multi_dropped") (result i64) (local i64)
    (call $f3) drop (local.set 0) drop (local.get 0))
  (func (export "many") (param i32 i32 i32 i32 i32 i32) (result i32 i32 i32 i32 i32 i32)
    (local.get 5) (local.get 4) (local.get 3) (local.get 2) (local.get 1) (local.get 0))
  (func $many64 (param i32 i64 i32 i64 i32 i64) (result i64)
    (i64.add (i64.add (i64.add (i64.extend_i32_u (local.get 0)) (local.get 1)) (i64.extend_i32_u (local.get 2)))
      (i64.sub (i64.sub (local.get 3) (i64.extend_i32_u (local.get 4))) (local.get 5))))
  (func (export "many64") (param i32 i64) (result i64)
    (call $many64 (local.get 0) (local.get 1) (i32.const 3) (i64.const 40) (i32.const 5) (i64.const 6)))
  (func (export "table") (param i32) (result i32)
    (block $d (block $c (block $b (block $a
      (br_table $a $b $c $a $d (local.get 0)))
      (return (i32.const 100)))
      (return (i32.const 101)))
      (return (i32.const 102)))
    (i32.const 103))
  (func (export "table_empty") (param i32) (result i32)
    (block (br_table 0 (local.get 0))) (i32.const 5))
  (func (export "table_values") (param i32) (result i32)
    (block $b (result i32) (block $a (result i32)
      (br_table $a $b $a (i32.const 50) (local.get 0)))
      (i32.add (i32.const 1))))
  (func (export "table_loop") (param i32) (result i32) (local i32)
    (loop $l
      (local.set 1 (i32.add (local.get 1) (i32.const 1)))
      (block $end
        (br_table $end $l $l $l $end (local.tee 0 (i32.sub (local.get 0) (i32.const 1))))))
    (i32.add (i32.mul (local.get 1) (i32.const 1000)) (local.get 0)))
  (func (export "table_function") (param i32) (result i32)
    (i32.const 4) (br_table 0 0 (i32.const 9) (local.get 0)))
  (func (export "select") (param i32 i32 i32) (result i32)
    (select (local.get 0) (local.get 1) (local.get 2)))
  (func (export "select64") (param i64 i64 i64) (result i64)
    (select (local.get 0) (local.get 1) (i64.eqz (local.get 2))))
  (func (export "both_evaluated") (param i32) (result i32) (local i32)
    (drop (select (local.tee 1 (i32.add (local.get 1) (i32.const 1)))
                  (local.tee 1 (i32.add (local.get 1) (i32.const 10))) (local.get 0)))
    (local.get 1))
  (func (export "old_value") (param i32) (result i32)
    (i32.add (local.get 0) (local.tee 0 (i32.const 5))))
  (func (export "old_values") (param i32 i32) (result i32)
    (local.get 0) (local.get 1)
    (local.set 0 (i32.const 1000)) (local.set 1 (i32.const 2000))
    i32.sub (i32.add (local.get 0)))
  (func (export "old_over_block") (param i32) (result i32)
    (local.get 0)
    (block (local.set 0 (i32.const 9)) (br_if 0 (local.get 0)) (local.set 0 (i32.const 10)))
    (i32.add (local.get 0)))
  (func (export "old_over_loop") (param i32) (result i32) (local i32)
    (local.get 1)
    (loop (local.set 1 (i32.add (local.get 1) (i32.const 2)))
      (br_if 0 (local.tee 0 (i32.sub (local.get 0) (i32.const 1)))))
    (i32.add (i32.mul (local.get 1) (i32.const 10))))
  (global $g (mut i32) (i32.const 1))
  (func $bump (result i32) (global.set $g (i32.add (global.get $g) (i32.const 1))) (global.get $g))
  (func (export "old_global") (result i32)
    (i32.add (i32.mul (global.get $g) (i32.const 100)) (call $bump)))
  (memory 1)
  (func $poke (result i32) (i32.store (i32.const 0) (i32.const 50)) (i32.const 1))
  (func (export "old_memory") (result i32)
    (i32.store (i32.const 0) (i32.const 3))
    (i32.add (i32.load (i32.const 0)) (call $poke)))
  (func (export "old_memory_store") (result i32)
    (i32.store (i32.const 0) (i32.const 4))
    (i32.load (i32.const 0))
    (i32.store (i32.const 0) (i32.const 60))
    (i32.add (i32.load (i32.const 0))))
  (func (export "old_memory_bytes") (result i32)
    (i32.store (i32.const 0) (i32.const 0x01020304))
    (i32.load (i32.const 0))
    (i32.store8 (i32.const 2) (i32.const 0x55))
    (i32.xor (i32.load (i32.const 0))))
  (func (export "dead") (param i32) (result i32)
    (block (result i32)
      (br 0 (local.get 0))
      (i32.add) (drop) (i64.eqz) (drop) (f32.neg) (drop)
      (select) (drop)
      (call $f2) (drop) (drop)
      (br_table 0 0)))
  (func (export "dead_return") (result i32) (return (i32.const 3)) (unreachable) (i32.add))
  (func (export "dead_loop") (param i32) (result i32)
    (loop (result i32) (br_if 1 (i32.const 6) (local.get 0)) (drop) (return (i32.const 8)) (br 0)))
  (func (export "dead_if") (param i32) (result i32)
    (if (result i32) (local.get 0) (then (return (i32.const 1))) (else (i32.const 2))))
  (func (export "both_leave") (param i32) (result i32)
    (if (local.get 0) (then (return (i32.const 1))) (else (return (i32.const 2)))) (i32.const 3))
  (func (export "empty_blocks") (result i32)
    (block) (loop) (block (block (block))) (if (i32.const 1) (then)) (if (i32.const 0) (then) (else))
    (i32.const 2))
  (func (export "is_even") (param i32) (result i32) (call $even (local.get 0)))
  (func $even (param i32) (result i32)
    (if (result i32) (i32.eqz (local.get 0)) (then (i32.const 1)) (else (call $odd (i32.sub (local.get 0) (i32.const 1))))))
  (func $odd (param i32) (result i32)
    (if (result i32) (i32.eqz (local.get 0)) (then (i32.const 0)) (else (call $even (i32.sub (local.get 0) (i32.const 1))))))
  (func $ack (export "ackermann") (param i32 i32) (result i32)
    (if (result i32) (i32.eqz (local.get 0)) (then (i32.add (local.get 1) (i32.const 1)))
      (else (if (result i32) (i32.eqz (local.get 1))
        (then (call $ack (i32.sub (local.get 0) (i32.const 1)) (i32.const 1)))
        (else (call $ack (i32.sub (local.get 0) (i32.const 1)) (call $ack (local.get 0) (i32.sub (local.get 1) (i32.const 1)))))))))
)
;; run
;; block
;; br 0
;; br 1
;; br 2
;; br_function 0
;; br_function 1
;; if_without_else 0
;; if_without_else 3
;; if_params 0
;; if_params 1
;; if_params_kept 0
;; if_params_kept 9
;; loop 0
;; loop 10
;; loop_params 6
;; loop_carried 10
;; loop_carried 0
;; swap 1 2
;; swap_loop 1 2 1
;; swap_loop 1 2 6
;; multi 5
;; multi_block 6
;; multi_br 0
;; multi_br 1
;; multi_3
;; multi_dropped
;; many 1 2 3 4 5 6
;; many64 0xFFFFFFFF 0xFFFFFFFFFFFFL
;; table 0
;; table 1
;; table 2
;; table 3
;; table 4
;; table -1
;; table_empty 0
;; table_empty 9
;; table_values 0
;; table_values 1
;; table_values 2
;; table_values 0x80000000
;; table_loop 1
;; table_loop 4
;; table_loop 9
;; table_function 0
;; table_function 5
;; select 1 2 0
;; select 1 2 0x80000000
;; select64 1L 2L 0L
;; select64 1L 2L 0x100000000L
;; both_evaluated 0
;; both_evaluated 1
;; old_value 30
;; old_values 30 4
;; old_over_block 3
;; old_over_loop 4
;; old_global
;; old_global
;; old_memory
;; old_memory_store
;; old_memory_bytes
;; dead 42
;; dead_return
;; dead_loop 0
;; dead_loop 1
;; dead_if 0
;; dead_if 1
;; both_leave 0
;; both_leave 1
;; empty_blocks
;; is_even 10
;; is_even 301
;; ackermann 2 3
