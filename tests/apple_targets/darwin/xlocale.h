#pragma once

// The locale names of Darwin that libc++ asks for and musl does not have. Declarations only: nothing is ever linked.

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

typedef uint32_t __uint32_t;

enum {
    _CTYPE_A = 0x100,
    _CTYPE_C = 0x200,
    _CTYPE_D = 0x400,
    _CTYPE_L = 0x1000,
    _CTYPE_P = 0x2000,
    _CTYPE_S = 0x4000,
    _CTYPE_U = 0x8000,
    _CTYPE_X = 0x10000,
    _CTYPE_B = 0x20000,
    _CTYPE_R = 0x40000
};

extern "C" {
int asprintf_l(char **, locale_t, const char *, ...);
int snprintf_l(char *, size_t, locale_t, const char *, ...);
int sscanf_l(const char *, locale_t, const char *, ...);
float strtof_l(const char *, char **, locale_t);
double strtod_l(const char *, char **, locale_t);
long double strtold_l(const char *, char **, locale_t);
long long strtoll_l(const char *, char **, int, locale_t);
unsigned long long strtoull_l(const char *, char **, int, locale_t);
}
