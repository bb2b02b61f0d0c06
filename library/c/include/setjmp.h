// <setjmp.h>, which the C library leaves out for this system: the machine saves its own registers.
#ifndef MOXI_SETJMP_H
#define MOXI_SETJMP_H

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned long long jmp_buf[12];
typedef jmp_buf sigjmp_buf;

__attribute__((import_module("moxi"), import_name("setjmp"), returns_twice)) int setjmp(jmp_buf);
__attribute__((import_module("moxi"), import_name("longjmp"), noreturn)) void longjmp(jmp_buf, int);

#define setjmp(buffer) setjmp(buffer)
#define _setjmp(buffer) setjmp(buffer)
#define _longjmp(buffer, value) longjmp(buffer, value)
#define sigsetjmp(buffer, mask) ((void)(mask), setjmp(buffer))
#define siglongjmp(buffer, value) longjmp(buffer, value)

#ifdef __cplusplus
}
#endif

#endif
