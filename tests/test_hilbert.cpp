// Hilbert keys by the curve's defining properties instead of a restated table:
// on every aligned block of 2^k x 2^k cells the keys are a bijection onto one
// run of 4^k consecutive keys, and consecutive keys name 4-adjacent cells.
#include "HilbertGrid.h"
#include <gtest/gtest.h>
#include <cstdlib>
#include <random>
#include <vector>

using namespace MIREL25D;

namespace {

// The block of side 2^k with its low corner at (x0, y0), aligned to 2^k.
void expectBlockIsACurve(uint32_t x0, uint32_t y0, int k)
{
	const uint32_t side(1u << k), numCells(side * side);
	std::vector<int64_t> vCellOfKey(numCells, -1);
	uint32_t base(HilbertGrid::computeKey(x0, y0) & ~(numCells - 1));
	for(uint32_t dx = 0; dx < side; ++dx)
		for(uint32_t dy = 0; dy < side; ++dy)
		{
			uint32_t key(HilbertGrid::computeKey(x0 + dx, y0 + dy));
			ASSERT_EQ(key - (key & (numCells - 1)), base) << "block leaves its key run at " << x0 + dx << " " << y0 + dy;
			ASSERT_EQ(vCellOfKey[key - base], -1) << "two cells with key " << key;
			vCellOfKey[key - base] = int64_t(dx) * side + dy;
		}
	for(uint32_t i = 1; i < numCells; ++i)
	{
		int64_t a(vCellOfKey[i - 1]), b(vCellOfKey[i]);
		ASSERT_EQ(std::llabs(a / side - b / side) + std::llabs(a % side - b % side), 1) << "keys " << base + i - 1 << " and " << base + i;
	}
}

} // namespace

TEST(HilbertKey, BijectiveOnAlignedBlocksWithAdjacentSuccessors)
{
	// The whole curve starts in the corner cell and covers the low block first.
	EXPECT_EQ(HilbertGrid::computeKey(0, 0), 0u);
	for(int k = 0; k <= 10; ++k) expectBlockIsACurve(0, 0, k);
	// Blocks anywhere on the grid, at every level, the grid's far corner included.
	const uint32_t maxCell((1u << HilbertGrid::NUM_LEVELS) - 1);
	std::mt19937 rng(5);
	for(int k = 1; k <= 8; ++k)
	{
		for(int i = 0; i < 40; ++i)
		{
			uint32_t mask(~((1u << k) - 1));
			expectBlockIsACurve(rng() & maxCell & mask, rng() & maxCell & mask, k);
		}
		expectBlockIsACurve(maxCell & ~((1u << k) - 1), maxCell & ~((1u << k) - 1), k);
	}
	// Every key fits the grid's 2 * NUM_LEVELS bits.
	EXPECT_LT(HilbertGrid::computeKey(maxCell, maxCell), 1u << (2 * HilbertGrid::NUM_LEVELS));
}
