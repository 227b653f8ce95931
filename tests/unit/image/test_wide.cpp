// The sixteen-at-a-time byte comparisons against the plain byte loop, for
// every length up to several vectors and every place of a first difference:
// the overlapping last vector and the eight-byte tails are where they could
// go wrong.
#include "image/wide.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(Wide, EveryLengthAndEveryPlaceOfADifference)
{
    for (size_t n = 0; n <= 70; ++n) {
        // Offsets 1 so that no load is aligned.
        std::vector<BYTE> a(n + 1, 0x5A), b(n + 1, 0x5A);
        EXPECT_EQ(wide::firstDifference(a.data() + 1, b.data() + 1, n), n) << n;
        EXPECT_TRUE(wide::same(a.data() + 1, b.data() + 1, n)) << n;
        EXPECT_TRUE(wide::allEqualTo(a.data() + 1, n, 0x5A)) << n;
        for (size_t d = 0; d < n; ++d) {
            b[1 + d] = 0x5B;
            if (d + 3 < n)
                b[1 + d + 3] = 0x00;  // a later difference never wins
            EXPECT_EQ(wide::firstDifference(a.data() + 1, b.data() + 1, n), d) << n << " at " << d;
            EXPECT_FALSE(wide::same(a.data() + 1, b.data() + 1, n)) << n << " at " << d;
            EXPECT_FALSE(wide::allEqualTo(b.data() + 1, n, 0x5A)) << n << " at " << d;
            unsigned mask = n >= 16 ? wide::equalMask(a.data() + 1, b.data() + 1) : 0;
            if (n >= 16) {
                for (unsigned i = 0; i < 16; ++i)
                    EXPECT_EQ((mask >> i) & 1u, a[1 + i] == b[1 + i] ? 1u : 0u) << n << " at " << d;
            }
            b.assign(n + 1, 0x5A);
        }
    }
}

}  // namespace
