;; Small functions, whose bodies take the place of calls. A line "run" starts the module anew.
(module
  (memory 1)
  (global $count (mut i32) (i32.const 0))
  (global $kept (mut i32) (i32.const 0))
  (table 2 funcref)
  (elem (i32.const 0) $twice $next)
  (type $one (func (param i32) (result i32)))
  (func $next (param i32) (result i32) (i32.add (local.get 0) (i32.const 1)))
  (func $twice (param i32) (result i32) (i32.add (local.get 0) (local.get 0)))
  (func $four (param i32) (result i32) (call $twice (call $twice (local.get 0))))
  ;; Counts how often it is evaluated, so that an argument that is computed twice is seen.
  (func $tick (result i32)
    (global.set $count (i32.add (global.get $count) (i32.const 1)))
    (global.get $count))
  (func $minus (param i32 i32) (result i32) (i32.sub (local.get 0) (local.get 1)))
  (func $changes (param i32) (result i32)
    (local.set 0 (i32.mul (local.get 0) (i32.const 3)))
    (i32.xor (local.get 0) (i32.const 5)))
  (func $zeroed (param i32) (result i32) (local i32)
    (if (local.get 0) (then (local.set 1 (i32.add (local.get 1) (i32.const 7)))))
    (local.get 1))
  (func $pair (param i32 i32) (result i32 i32) (local.get 1) (local.get 0))
  (func $absolute (param i32) (result i32)
    (if (i32.ge_s (local.get 0) (i32.const 0)) (then (return (local.get 0))))
    (i32.sub (i32.const 0) (local.get 0)))
  (func $limited (param i32 i32) (result i32)
    (br_if 0 (local.get 1) (i32.gt_s (local.get 0) (local.get 1)))
    (drop)
    (local.get 0))
  (func $store_unless (param i32 i32)
    (br_if 0 (local.get 1))
    (i32.store (local.get 0) (i32.const 77)))
  (func $sum_to (param i32) (result i32) (local i32)
    (loop $again
      (local.set 1 (i32.add (local.get 1) (local.get 0)))
      (br_if $again (local.tee 0 (i32.sub (local.get 0) (i32.const 1)))))
    (local.get 1))
  (func $divide (param i32 i32) (result i32) (i32.div_u (local.get 0) (local.get 1)))
  (func $first (param i32 i32) (result i32) (local.get 0))
  (func $set_kept (param i32) (global.set $kept (local.get 0)))
  (func $stop unreachable)
  (func $stop_if (param i32) (if (local.get 0) (then unreachable)))
  (func $float (param f64) (result i32) (i32.trunc_f64_s (local.get 0)))
  (func $wide (param i32) (result i64) (i64.extend_i32_s (local.get 0)))
  (func $even (param i32) (result i32)
    (if (result i32) (local.get 0)
      (then (call $odd (i32.sub (local.get 0) (i32.const 1))))
      (else (i32.const 1))))
  (func $odd (param i32) (result i32)
    (if (result i32) (local.get 0)
      (then (call $even (i32.sub (local.get 0) (i32.const 1))))
      (else (i32.const 0))))

  (func (export "nested") (param i32) (result i32) (call $next (call $four (local.get 0))))
  (func (export "arguments_once_and_in_order") (result i32 i32)
    (call $minus (call $tick) (call $minus (call $tick) (call $tick)))
    (global.get $count))
  (func (export "parameter_changes") (param i32) (result i32 i32)
    (call $changes (local.get 0)) (local.get 0))
  (func (export "locals_are_zero") (param i32) (result i32) (local i32)
    (loop $again
      (local.set 1 (i32.add (local.get 1) (call $zeroed (local.get 0))))
      (br_if $again (local.tee 0 (i32.sub (local.get 0) (i32.const 1)))))
    (local.get 1))
  (func (export "two_results") (param i32 i32) (result i32 i32)
    (call $pair (local.get 0) (call $twice (local.get 1))))
  (func (export "returns_early") (param i32) (result i32)
    (i32.add (local.get 0) (call $absolute (local.get 0))))
  (func (export "branches_to_its_end") (param i32 i32) (result i32)
    (call $limited (local.get 0) (local.get 1)))
  (func (export "what_waits_sees_no_store") (param i32) (result i32 i32)
    (i32.store (i32.const 16) (i32.const 5))
    (i32.load (i32.const 16))
    (call $store_unless (i32.const 16) (local.get 0))
    (i32.load (i32.const 16)))
  (func (export "what_waits_sees_no_global") (param i32) (result i32)
    (call $set_kept (i32.const 1))
    (global.get $kept)
    (call $set_kept (local.get 0))
    (i32.mul (i32.const 100)) (global.get $kept) (i32.add))
  (func (export "argument_before_assignment") (param i32) (result i32)
    (call $minus (local.get 0) (local.tee 0 (i32.const 3))))
  (func (export "result_before_assignment") (param i32) (result i32)
    (call $next (local.get 0))
    (local.set 0 (i32.const 1000))
    (i32.add (local.get 0)))
  (func (export "loops") (param i32) (result i32)
    (i32.mul (local.get 0) (call $sum_to (i32.add (local.get 0) (i32.const 2)))))
  (func (export "wide") (param i32) (result i64)
    (i64.mul (call $wide (local.get 0)) (i64.const 3000000000)))
  (func (export "each_other") (param i32) (result i32) (call $even (local.get 0)))
  (func (export "by_the_table") (param i32 i32) (result i32)
    (call_indirect (type $one) (local.get 0) (local.get 1)))
  (func (export "never_comes_back") (param i32) (result i32)
    (block (br_if 0 (local.get 0)) (call $stop) (call $set_kept (i32.const 9)))
    (i32.const 4))
  (func $caller (export "divides") (param i32 i32) (result i32)
    (i32.add (call $divide (local.get 0) (local.get 1)) (i32.const 1)))
  (func (export "divides_for_nothing") (param i32 i32) (result i32)
    (call $first (i32.const 6) (i32.div_u (local.get 0) (local.get 1))))
  (func $converting (export "converts") (param i64) (result i32)
    (call $float (f64.reinterpret_i64 (local.get 0))))
  (func $own (export "own_trap_first") (param i32) (result i32)
    (i32.trunc_f32_s (f32.reinterpret_i32 (local.get 0)))
    (call $stop_if (local.get 0)))
  (func $later (export "leaf_trap_first") (param i32 i32) (result i32)
    (call $stop_if (local.get 0))
    (i32.trunc_f32_s (f32.reinterpret_i32 (local.get 1)))))
;; run
;; nested 5
;; nested -1
;; arguments_once_and_in_order
;; arguments_once_and_in_order
;; parameter_changes 11
;; locals_are_zero 4
;; two_results 3 9
;; returns_early -8
;; returns_early 8
;; branches_to_its_end 3 9
;; branches_to_its_end 9 3
;; what_waits_sees_no_store 0
;; what_waits_sees_no_store 1
;; what_waits_sees_no_global 2
;; argument_before_assignment 10
;; result_before_assignment 5
;; loops 6
;; wide -7
;; each_other 9
;; each_other 10
;; by_the_table 21 0
;; by_the_table 21 1
;; never_comes_back 1
;; divides 40 4
;; divides_for_nothing 1 2
;; converts 0x4045000000000000L
;; own_trap_first 0
;; leaf_trap_first 0 0x42280000
;; never_comes_back 0
;; run
;; divides 1 0
;; run
;; divides_for_nothing 1 0
;; run
;; own_trap_first 0x7FC00000
;; run
;; own_trap_first 0x3F800000
;; run
;; leaf_trap_first 1 0x7FC00000
;; run
;; leaf_trap_first 0 0x7FC00000
;; trap never_comes_back 0 -> Trap: unreachable in stop
;; trap converts 0x7FF8000000000000L -> Trap: invalid conversion to integer in float
;; trap own_trap_first 0x7FC00000 -> Trap: invalid conversion to integer in own
;; trap own_trap_first 0x3F800000 -> Trap: unreachable in stop_if
;; trap leaf_trap_first 0 0x7FC00000 -> Trap: invalid conversion to integer in later
