/* Words that C and C++ spell differently. */
#ifndef TRANSAPI_STATIC_CHECK_H
#define TRANSAPI_STATIC_CHECK_H

#ifdef __cplusplus
#define TRANSAPI_STATIC_CHECK static_assert
#else
#define TRANSAPI_STATIC_CHECK _Static_assert
#endif

/* The open end of a record. ISO C++ has no flexible array member; GCC and Clang give it C's meaning there. */
#ifdef __clang__
#define TRANSAPI_FLEXIBLE_ARRAY(type, name)                                                                            \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wc99-extensions\"") type name[];             \
    _Pragma("clang diagnostic pop")
#else
#define TRANSAPI_FLEXIBLE_ARRAY(type, name) __extension__ type name[];
#endif

#endif
