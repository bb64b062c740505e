/*
 * xvocore.h - the platform library under xvosc: aligned heap memory and the
 * thread budget. Only the transform layer of xvosc calls it.
 * Compiles as C99 and as C++.
 */
#ifndef XVOCORE_H
#define XVOCORE_H

#include <stddef.h>

#define XVOCORE_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** Allocates `size` bytes aligned to 64 bytes; null when size < 1 or on failure. */
XVOCORE_API void* xvoMalloc(int size);

/** Releases memory from xvoMalloc; a null pointer is ignored. */
XVOCORE_API void xvoFree(void* ptr);

/** Number of threads the library may use (the OpenMP runtime's maximum, at least 1). */
XVOCORE_API int ownGetNumThreads(void);

#ifdef __cplusplus
}
#endif

#endif /* XVOCORE_H */
