// Split off from Dt2.cpp, whose unit name its banners keep.
#define MIREL_BANNER_FILE "Dt2.cpp"
#include "MirelExportFill.h"

namespace MIREL25D {

void fillExportVertices(const VertexVault& vertexVault, VertexNumbering& numbering, MirelExport& mirelExport)
{
	size_t numVtx(vertexVault.numberOfPoints());
	mirelExport.numPoints = static_cast<int32_t>(numVtx);
	mirelExport.aCoords = numVtx > 0 ? new double[size_t(mirelExport.dim) * numVtx] : nullptr;
	double* pCoord(mirelExport.aCoords);
	int32_t idx(0);
	for(size_t i = 0; i < vertexVault.size(); ++i)
	{
		const IdxVtxAct* pRec(vertexVault.getRecord(i));
		if(!pRec->active) continue;
		const Point2* pVtx(pRec->pVtx);
		numbering.assign(pVtx, idx++);
		*pCoord++ = pVtx->x();
		*pCoord++ = pVtx->y();
		*pCoord++ = pVtx->z();
	}
	MIREL_ASSERT(size_t(idx)==numVtx);
}

void fillExportTriangles(SimplePool<Triangle2>& trianglePool, size_t numT, const VertexNumbering& numbering, bool bFreeBlocks, MirelExport& mirelExport)
{
	mirelExport.numTriangles = static_cast<int32_t>(numT);
	mirelExport.aTriangles = numT > 0 ? new int32_t[3 * numT] : nullptr;
	int32_t* pOut(mirelExport.aTriangles);
	size_t numWritten(0);
	for(size_t b = 0; b < trianglePool.numBlocks(); ++b)
	{
		size_t numUsed(0);
		const Triangle2* pBlock(trianglePool.getBlock(b, numUsed));
		for(size_t i = 0; i < numUsed; ++i)
		{
			const Triangle2& t(pBlock[i]);
			if(!t.isAlive()) continue;
			MIREL_ASSERT(numWritten<numT);
			for(int c = 0; c < 3; ++c)
			{
				int32_t vtxIdx(numbering.get(t.getCorner(c)));
				MIREL_ASSERT(vtxIdx>=0);
				*pOut++ = vtxIdx;
			}
			++numWritten;
		}
		if(bFreeBlocks) trianglePool.freeBlock(b);
	}
	MIREL_ASSERT(numWritten==numT);
}

} // namespace MIREL25D
