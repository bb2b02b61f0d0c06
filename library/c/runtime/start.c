// Where a program with a main begins.

#include "runtime.h"

extern void __wasm_call_ctors(void);
extern void __wasm_call_dtors(void);
extern int __main_void(void);
extern _Noreturn void SYSTEM(proc_exit)(uint32_t code);

__attribute__((export_name("_start"))) void _start(void) {
    __wasm_call_ctors();
    const int status = __main_void();
    __wasm_call_dtors();
    SYSTEM(proc_exit)((uint32_t)status);
}
