#pragma once

#include <cstdlib>
#include <memory>

struct FreeXcb {
    void operator()(void* pointer) const { std::free(pointer); }
};

/// What libxcb hands out for its caller to free.
template <typename T> using XcbPointer = std::unique_ptr<T, FreeXcb>;
