// The byte comparisons every fast path of the image room stands on, against
// memcmp and a plain loop: stretches of every length up to a few vectors,
// equal or differing in one byte anywhere, at any alignment. The same file
// is built twice, once with the vector versions and once with the portable
// ones that a processor without SSE2 would take.
#include "image/wide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

TEST(Wide, ByteComparisonsMatchThePlainLoop)
{
    std::mt19937 rng(3);
    auto below = [&rng](size_t n) { return (size_t)(rng() % n); };
    std::vector<BYTE> a(400), b(400);
    for (int round = 0; round < 20000; ++round) {
        size_t n = below(300), offset = below(17);
        BYTE value = below(2) ? 255 : (BYTE)below(256);
        std::fill(a.begin(), a.end(), value);
        std::fill(b.begin(), b.end(), value);
        size_t where = n > 0 && below(4) ? below(n) : n;
        if (where < n)
            b[offset + where] = (BYTE)(value + 1 + below(255));
        const BYTE *p = a.data() + offset, *q = b.data() + offset;
        ASSERT_EQ(wide::same(p, q, n), memcmp(p, q, n) == 0) << "round " << round << ", " << n << " bytes";
        ASSERT_EQ(wide::firstDifference(p, q, n), where) << "round " << round << ", " << n << " bytes";
        ASSERT_EQ(wide::allEqualTo(q, n, value), where == n) << "round " << round << ", " << n << " bytes";
        // A sixteen-byte block: a bit per byte that is the same, and the top bits.
        if (n >= 16) {
            unsigned same = 0, top = 0;
            for (unsigned i = 0; i < 16; ++i) {
                same |= (unsigned)(p[i] == q[i]) << i;
                top |= (unsigned)(q[i] >> 7) << i;
            }
            ASSERT_EQ(wide::equalMask(p, q), same) << "round " << round;
            ASSERT_EQ(wide::setMask(q), top) << "round " << round;
        }
    }
}
