;; Modules byte by byte: what the format allows and what it does not.

(module binary "\00asm\01\00\00\00")
(assert_malformed (module binary "") "unexpected end")
(assert_malformed (module binary "\00as") "unexpected end")
(assert_malformed (module binary "asm\00\01\00\00\00") "magic header not detected")
(assert_malformed (module binary "\00ASM\01\00\00\00") "magic header not detected")
(assert_malformed (module binary "\00asm") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00") "unexpected end")
(assert_malformed (module binary "\00asm\0d\00\00\00") "unknown binary version")
(assert_malformed (module binary "\00asm\00\00\00\01") "unknown binary version")

;; --- Sections

(assert_malformed (module binary "\00asm\01\00\00\00" "\0e\01\00") "malformed section id")
(assert_malformed (module binary "\00asm\01\00\00\00" "\80\01\00\01\01\00") "malformed section id")
(assert_malformed (module binary "\00asm\01\00\00\00" "\ff\00\01\00") "malformed section id")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\05\01\60\00\00\00") "section size mismatch")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\01\00\01\01\00") "unexpected content after last section")
(assert_malformed (module binary "\00asm\01\00\00\00" "\03\01\00\01\01\00") "unexpected content after last section")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\05\01\61\00\00") "malformed function type")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\05\01\60\01\7a\00") "malformed value type")
;; Two start sections, a data count behind the code.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\08\01\00\08\01\00" "\0a\04\01\02\00\0b") "unexpected content after last section")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\02\00\0b" "\0c\01\00") "unexpected content after last section")
;; Sections without contents.
(module binary "\00asm\01\00\00\00" "\01\01\00\02\01\00\03\01\00\04\01\00\05\01\00\06\01\00\07\01\00\09\01\00\0c\01\00\0a\01\00\0b\01\00")

;; --- Own sections, anywhere

(module binary "\00asm\01\00\00\00" "\00\01\00" "\00\02\01a" "\01\04\01\60\00\00" "\00\04\03abc" "\03\02\01\00" "\00\05\01z123" "\0a\04\01\02\00\0b" "\00\02\01\30")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\00") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\00\00\05\01\00\07\00\00") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\26\10a own section" "the rest") "length out of bounds")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\02\05a") "length out of bounds")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\03\02\c3\28") "malformed UTF-8 encoding")
;; Names that make no sense: the module does not care.
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\02\00\0b" "\00\08\04name\01\80\80")
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\02\00\0b" "\00\0b\04name\01\04\05\63\01a")
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\02\00\0b" "\00\05\04name" "\00\05\04name")

;; --- Numbers

(module binary "\00asm\01\00\00\00" "\05\04\01\00\82\00")
(module binary "\00asm\01\00\00\00" "\05\07\01\00\82\80\80\80\00")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\08\01\00\82\80\80\80\80\00") "integer representation too long")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\07\01\00\82\80\80\80\70") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\07\01\00\82\80\80\80\40") "integer too large")
(module binary "\00asm\01\00\00\00" "\06\07\01\7f\00\41\80\00\0b")
(module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\ff\ff\ff\ff\7f\0b")
(module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\80\80\80\80\00\0b")
(module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\80\80\80\80\78\0b")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0b\01\7f\00\41\80\80\80\80\80\00\0b") "integer representation too long")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\80\80\80\80\70\0b") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\ff\ff\ff\ff\0f\0b") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\80\80\80\80\1f\0b") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0a\01\7f\00\41\ff\ff\ff\ff\4f\0b") "integer too large")
(module binary "\00asm\01\00\00\00" "\06\0f\01\7e\00\42\ff\ff\ff\ff\ff\ff\ff\ff\ff\7f\0b")
(module binary "\00asm\01\00\00\00" "\06\0f\01\7e\00\42\80\80\80\80\80\80\80\80\80\7f\0b")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0f\01\7e\00\42\80\80\80\80\80\80\80\80\80\7e\0b") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\0f\01\7e\00\42\ff\ff\ff\ff\ff\ff\ff\ff\ff\01\0b") "integer too large")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\10\01\7e\00\42\80\80\80\80\80\80\80\80\80\80\00\0b") "integer representation too long")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\06\01\7f\02\41\00\0b") "malformed mutability")
(assert_malformed (module binary "\00asm\01\00\00\00" "\06\06\01\7f\ff\41\00\0b") "malformed mutability")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\03\01\08\00") "malformed limits flags")
(assert_malformed (module binary "\00asm\01\00\00\00" "\04\04\01\70\08\00") "malformed limits flags")
(assert_malformed (module binary "\00asm\01\00\00\00" "\02\04\01\00\00\04") "malformed import kind")
(assert_malformed (module binary "\00asm\01\00\00\00" "\02\05\01\00\00\80\00") "malformed import kind")

;; --- Functions and bodies

(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00") "function and code section have inconsistent lengths")
(assert_malformed (module binary "\00asm\01\00\00\00" "\0a\04\01\02\00\0b") "function and code section have inconsistent lengths")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\03\02\00\00" "\0a\04\01\02\00\0b") "function and code section have inconsistent lengths")
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\01\00")
;; A body without its end, one that goes on behind it, one that is longer than the section.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\02\00\01") "END opcode expected")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\05\01\03\00\0b\0b") "section size mismatch")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\04\01\03\00\0b") "unexpected end")
;; Runs of locals: of no length, and of more than there can be.
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\0c\01\0a\04\00\7f\00\7e\02\7d\00\7c\0b")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\0c\01\0a\02\ff\ff\ff\ff\0f\7f\02\7e\0b") "too many locals")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\06\01\04\01\01\78\0b") "malformed value type")
;; A block's type of two bytes that would say "nothing" or i32 in one.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\08\01\06\00\02\c0\7f\0b\0b") "unexpected end")
;; A block's type by an index of five bytes.
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\0b\01\09\00\02\80\80\80\80\00\0b\0b")
;; memory.grow and memory.size name memory 0 with a byte, call_indirect its table.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\09\01\07\00\41\00\40\01\1a\0b") "zero byte expected")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\0a\01\08\00\41\00\40\80\00\1a\0b") "zero byte expected")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\07\01\05\00\3f\01\1a\0b") "zero byte expected")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\08\01\06\00\3f\80\00\1a\0b") "zero byte expected")
;; memory.init and data.drop need the data count.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\0e\01\0c\00\41\00\41\00\41\00\fc\08\00\00\0b" "\0b\03\01\01\00") "data count section required")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0a\07\01\05\00\fc\09\00\0b" "\0b\03\01\01\00") "data count section required")
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\05\03\01\00\00" "\0c\01\01" "\0a\07\01\05\00\fc\09\00\0b" "\0b\03\01\01\00")
(assert_malformed (module binary "\00asm\01\00\00\00" "\0c\01\03" "\0b\05\02\01\00\01\00") "data count and data section have inconsistent lengths")
(assert_malformed (module binary "\00asm\01\00\00\00" "\0c\01\01") "data count and data section have inconsistent lengths")
;; Operators that there are not.
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\05\01\03\00\16\0b") "illegal opcode")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\05\01\03\00\c5\0b") "illegal opcode")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\05\01\03\00\ff\0b") "illegal opcode")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\06\01\04\00\fc\7f\0b") "illegal opcode")
;; The number behind the prefix may have more bytes than it needs.
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\0a\0d\01\0b\00\43\00\00\80\3f\fc\80\00\1a\0b")

;; --- Segments

(module binary "\00asm\01\00\00\00" "\05\03\01\00\01" "\0b\07\01\02\00\41\00\0b\00")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\03\01\00\01" "\0b\06\01\03\41\00\0b\00") "malformed data segment kind")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\03\01\00\01" "\0b\0c\01\00\41\03\0b\07abcdef") "unexpected end")
(assert_malformed (module binary "\00asm\01\00\00\00" "\05\03\01\00\01" "\0b\0d\01\00\41\03\0b\05abcdef" "") "section size mismatch")
(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\04\04\01\70\00\08"
  "\09\35\08"
  "\00\41\00\0b\01\00"  "\01\00\01\00"  "\02\00\41\01\0b\00\01\00"  "\03\00\01\00"
  "\04\41\02\0b\01\d2\00\0b"  "\05\70\01\d0\70\0b"  "\06\00\41\03\0b\70\01\d2\00\0b"  "\07\70\01\d2\00\0b"
  "\0a\04\01\02\00\0b")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\04\04\01\70\00\08" "\09\07\01\08\41\00\0b\01\00" "\0a\04\01\02\00\0b") "malformed elements segment kind")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\04\04\01\70\00\08" "\09\05\01\01\01\01\00" "\0a\04\01\02\00\0b") "malformed element kind")
(assert_malformed (module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\04\04\01\70\00\08" "\09\07\02\00\41\00\0b\01\00" "\0a\04\01\02\00\0b") "unexpected end")
;; A table whose type is no reference.
(assert_malformed (module binary "\00asm\01\00\00\00" "\04\04\01\7f\00\00") "malformed reference type")

;; --- Names

(module binary "\00asm\01\00\00\00" "\01\04\01\60\00\00" "\03\02\01\00" "\07\0e\02" "\04\f0\90\80\80\00\00" "\03\ef\bf\bf\00\00" "\0a\04\01\02\00\0b")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\02\01\80") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\03\02\c0\80") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\03\02\c1\bf") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\04\03\e0\9f\bf") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\04\03\ed\a0\80") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\05\04\f0\8f\bf\bf") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\05\04\f4\90\80\80") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\05\04\f8\88\80\80") "malformed UTF-8 encoding")
(assert_malformed (module binary "\00asm\01\00\00\00" "\00\03\02\e2\82") "malformed UTF-8 encoding")
