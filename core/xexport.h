// Symbol export for libXUMComps.so.
//
// The library is built with hidden visibility; every class and function that
// belongs to the public interface is marked XUM_API. Exception classes must be
// exported too, so that their type information matches across the boundary
// of the shared library and a `catch` in the application sees them.
#ifndef XUM_CORE_XEXPORT_H
#define XUM_CORE_XEXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define XUM_API __attribute__((visibility("default")))
#else
#define XUM_API
#endif

#endif  // XUM_CORE_XEXPORT_H
