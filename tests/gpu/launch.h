// One kernel launch as data, so that every test bench (plain C++, CUDA, OpenCL) runs the same launches.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace gpu_test {

using Contents = std::vector<unsigned char>;  // of a buffer; floats as they lie in memory

/// A number, or the index of a buffer.
struct Argument {
    bool isBuffer;
    int value;
};

struct Launch {
    std::string kernel;  // CUDA name
    std::vector<Argument> arguments;
    std::vector<Contents> buffers;  // before the launch
    int columns;                    // extent to be covered
    int rows;
    int blockColumns = 32;  // of a CUDA block; the border width in column passes
};

/// A function called with pointers to its argument values.
using Callable = std::function<void(void** values)>;

template <class... P, std::size_t... I>
Callable unpackedWith(void (*function)(P...), std::index_sequence<I...>) {
    return [function](void** values) { function(*static_cast<std::remove_reference_t<P>*>(values[I])...); };
}
template <class... P>
Callable unpacked(void (*function)(P...)) {
    return unpackedWith(function, std::index_sequence_for<P...>{});
}

/// Calls function on the launch's arguments with a copy of its buffers, and returns the copy.
std::vector<Contents> runOnCopy(const Launch& launch, const Callable& function);

}  // namespace gpu_test
