#pragma once
#include <cstdint>

namespace MIREL25D {

// Keys along a Hilbert curve over the bounding box, so that sorting vertices by
// key makes successive insertions spatial neighbours. The grid has 2^15 cells
// per axis and the key 30 bits: two bits per level, from the top level down.
class HilbertGrid
{
public:
	static const int NUM_LEVELS = 15; // a multiple of 3 (see computeKey)

	HilbertGrid() : originX(0.0), originY(0.0), scaleX(0.0), scaleY(0.0) {}

	// Origin at the box's lower left corner, one scale factor per axis. A
	// degenerate axis gets scale 0: all its points fall into grid column 0.
	void setup(double minX, double minY, double maxX, double maxY)
	{
		const double numCells(double(1u << NUM_LEVELS));
		originX = minX;
		originY = minY;
		scaleX = maxX > minX ? numCells / (maxX - minX) : 0.0;
		scaleY = maxY > minY ? numCells / (maxY - minY) : 0.0;
	}

	uint32_t getKey(double x, double y) const
	{
		return computeKey(toGrid((x - originX) * scaleX), toGrid((y - originY) * scaleY));
	}

	// Three levels per step through a table made from computeKeyByLevels, so
	// the keys are the same.
	static uint32_t computeKey(uint32_t gx, uint32_t gy)
	{
		static const ThreeLevelTable table;
		uint32_t key(0);
		unsigned state(0);
		for(int shift = NUM_LEVELS - 3; shift >= 0; shift -= 3)
		{
			uint8_t entry(table.aEntry[(state << 6) | (((gx >> shift) & 7u) << 3) | ((gy >> shift) & 7u)]);
			key |= uint32_t(entry >> 2) << (2 * shift);
			state = entry & 3u;
		}
		return key;
	}

	// Quadrant q = 2*(bit of gx) + (bit of gy); the position table gives the
	// quadrant's rank on the curve in the current state, the next table the
	// state of the sub-square. Levels numLevels-1 .. 0 of gx and gy, from
	// state; the final state is returned in finalState.
	static uint32_t computeKeyByLevels(uint32_t gx, uint32_t gy, int numLevels, unsigned state, unsigned& finalState)
	{
		static const uint8_t aPosition[4][4] = {{0, 1, 3, 2}, {0, 3, 1, 2}, {2, 1, 3, 0}, {2, 3, 1, 0}};
		static const uint8_t aNext[4][4] = {{1, 0, 2, 0}, {0, 3, 1, 1}, {2, 2, 0, 3}, {3, 1, 3, 2}};
		uint32_t key(0);
		for(int level = numLevels - 1; level >= 0; --level)
		{
			unsigned q((((gx >> level) & 1u) << 1) | ((gy >> level) & 1u));
			key |= uint32_t(aPosition[state][q]) << (2 * level);
			state = aNext[state][q];
		}
		finalState = state;
		return key;
	}

private:
	// Entry (state, 3 bits of gx, 3 bits of gy): the 6 key bits of three
	// levels, shifted left by 2, and the state after them.
	struct ThreeLevelTable
	{
		uint8_t aEntry[256];
		ThreeLevelTable()
		{
			for(unsigned state = 0; state < 4; ++state)
				for(uint32_t gx = 0; gx < 8; ++gx)
					for(uint32_t gy = 0; gy < 8; ++gy)
					{
						unsigned finalState(0);
						uint32_t key(computeKeyByLevels(gx, gy, 3, state, finalState));
						aEntry[(state << 6) | (gx << 3) | gy] = uint8_t((key << 2) | finalState);
					}
		}
	};

	// Truncation, clamped so that the upper box border and rounding stay on the grid.
	static uint32_t toGrid(double g)
	{
		const double maxCell(double((1u << NUM_LEVELS) - 1));
		if(!(g > 0.0)) return 0;
		if(g >= maxCell) return (1u << NUM_LEVELS) - 1;
		return uint32_t(g);
	}

	double originX, originY;
	double scaleX, scaleY;
};

} // namespace MIREL25D
