#pragma once
// Filling the arrays of a MirelExport record from the triangulation's pools:
// the vertices numbered in the vault's order, the triangles in pool order.
// Internal: used by the triangulation's array export.
#include "MirelExport.h"
#include "Point2.h"
#include "SimplePool.h"
#include "Triangle2.h"
#include "VertexVault.h"
#include "tools.h"
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace MIREL25D {

// Export indices of the vertices, looked up by address: the vertices live in
// pool blocks, so a vertex's block and its position there give a slot, and a
// table maps slots to indices. Only addresses are compared, never
// dereferenced, so the vertices may already be released while the triangles
// are numbered.
class VertexNumbering
{
public:
	explicit VertexNumbering(const SimplePool<Point2>& vertexPool) : lastBlock(0)
	{
		size_t firstSlot(0);
		for(size_t b = 0; b < vertexPool.numBlocks(); ++b)
		{
			size_t numUsed(0);
			uintptr_t begin(reinterpret_cast<uintptr_t>(vertexPool.getBlock(b, numUsed)));
			vBlocks.push_back(BlockRange{begin, begin + numUsed * sizeof(Point2), firstSlot});
			firstSlot += numUsed;
		}
		std::sort(vBlocks.begin(), vBlocks.end(), [](const BlockRange& a, const BlockRange& b) { return a.begin < b.begin; });
		vSlotIndex.assign(firstSlot, -1);
	}
	void assign(const Point2* pVtx, int32_t idx) { vSlotIndex[slotOf(pVtx)] = idx; }
	int32_t get(const Point2* pVtx) const { return vSlotIndex[slotOf(pVtx)]; }

private:
	struct BlockRange
	{
		uintptr_t begin, end;
		size_t firstSlot;
	};
	// Corners of neighbouring triangles are mostly in the same block: the last
	// block found is tried first, then a bisection.
	size_t slotOf(const Point2* pVtx) const
	{
		uintptr_t addr(reinterpret_cast<uintptr_t>(pVtx));
		const BlockRange* pRange(&vBlocks[lastBlock]);
		if(addr < pRange->begin || addr >= pRange->end)
		{
			auto it(std::upper_bound(vBlocks.begin(), vBlocks.end(), addr, [](uintptr_t a, const BlockRange& r) { return a < r.begin; }));
			MIREL_ASSERT(it!=vBlocks.begin());
			lastBlock = size_t(it - vBlocks.begin()) - 1;
			pRange = &vBlocks[lastBlock];
			MIREL_ASSERT(addr<pRange->end);
		}
		return pRange->firstSlot + (addr - pRange->begin) / sizeof(Point2);
	}

	std::vector<BlockRange> vBlocks;
	std::vector<int32_t> vSlotIndex;
	mutable size_t lastBlock;
};

// Coordinates of the active vertices, in the vault's order, which also
// numbers them.
void fillExportVertices(const VertexVault& vertexVault, VertexNumbering& numbering, MirelExport& mirelExport);
// The numT live triangles as corner indices; with bFreeBlocks each pool block
// is freed as soon as it has been read, which keeps the memory peak low.
void fillExportTriangles(SimplePool<Triangle2>& trianglePool, size_t numT, const VertexNumbering& numbering, bool bFreeBlocks, MirelExport& mirelExport);

} // namespace MIREL25D
