// Hilbert keys against a direct transcription of the curve's rule (one level
// at a time from the top bit, position and next tables), on random cells and
// on the grid's borders.
#include "HilbertGrid.h"
#include <gtest/gtest.h>
#include <random>

using namespace MIREL25D;

namespace {

uint32_t referenceKey(uint32_t gx, uint32_t gy)
{
	const unsigned aPosition[4][4] = {{0, 1, 3, 2}, {0, 3, 1, 2}, {2, 1, 3, 0}, {2, 3, 1, 0}};
	const unsigned aNext[4][4] = {{1, 0, 2, 0}, {0, 3, 1, 1}, {2, 2, 0, 3}, {3, 1, 3, 2}};
	uint32_t key(0);
	unsigned state(0);
	for(int level = 14; level >= 0; --level)
	{
		unsigned q(2 * ((gx >> level) & 1u) + ((gy >> level) & 1u));
		key = key * 4 + aPosition[state][q];
		state = aNext[state][q];
	}
	return key;
}

TEST(HilbertKey, EqualsTheLevelByLevelRule)
{
	std::mt19937 rng(5);
	for(int i = 0; i < 200000; ++i)
	{
		uint32_t gx(rng() & 0x7fffu), gy(rng() & 0x7fffu);
		ASSERT_EQ(HilbertGrid::computeKey(gx, gy), referenceKey(gx, gy)) << gx << " " << gy;
	}
	for(uint32_t a : {0u, 1u, 7u, 8u, 0x3fffu, 0x4000u, 0x7ffeu, 0x7fffu})
		for(uint32_t b : {0u, 1u, 7u, 8u, 0x3fffu, 0x4000u, 0x7ffeu, 0x7fffu}) ASSERT_EQ(HilbertGrid::computeKey(a, b), referenceKey(a, b));
}

} // namespace
