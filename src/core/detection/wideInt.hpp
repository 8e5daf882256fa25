#pragma once

// Exact sums of products of 24-bit samples over millions of samples need 128 bits.
#if defined(__SIZEOF_INT128__)
namespace quorvel {
__extension__ typedef __int128 WideInt;
}
#else
#error "a 128-bit integer type is needed for exact sample sums"
#endif
