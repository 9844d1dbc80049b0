#pragma once

/// Frees one of a library's objects with the library's own function.
template <auto Free> struct FreeWith {
    template <class T> void operator()(T *object) const { Free(object); }
};
