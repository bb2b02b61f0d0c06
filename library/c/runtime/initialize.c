// What a program that lives on messages runs before the first of them.

extern void __wasm_call_ctors(void);

__attribute__((export_name("_initialize"))) void _initialize(void) {
    __wasm_call_ctors();
}
