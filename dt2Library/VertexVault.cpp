#include "VertexVault.h"
#include "GeomTest.h"
#include "MirelExport.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <iostream>

namespace MIREL25D {

namespace {
bool keyLess(const IdxVtxAct& a, const IdxVtxAct& b)
{
	return a.key < b.key;
}
} // namespace

VertexVault::VertexVault(GeomTest* pGeomTest_, const HilbertGrid* pGrid_)
	: pGeomTest(pGeomTest_), pGrid(pGrid_), numSorted(0), numActive(0), bFullDimensional(false)
{}

VertexVault::~VertexVault() {}

void VertexVault::reserveBatch(size_t n)
{
	mergeSingles();
	vIdxVtxAct.reserve(vIdxVtxAct.size() + n);
}

IdxVtxAct* VertexVault::appendRecords(size_t n)
{
	mergeSingles(); // the batch must start right after the sorted records
	size_t oldSize(vIdxVtxAct.size());
	vIdxVtxAct.resize(oldSize + n);
	numActive += n;
	return n == 0 ? nullptr : &vIdxVtxAct[oldSize];
}

void VertexVault::mergeBatch()
{
	if(numSorted > 0 && numSorted < vIdxVtxAct.size())
	{
		std::inplace_merge(vIdxVtxAct.begin(), vIdxVtxAct.begin() + numSorted, vIdxVtxAct.end(), keyLess);
	}
	numSorted = vIdxVtxAct.size();
}

void VertexVault::addOne(Point2* pVtx, uint32_t key)
{
	IdxVtxAct rec{key, 1, pVtx};
	++numActive;
	if(!bFullDimensional)
	{
		auto pos(std::upper_bound(vIdxVtxAct.begin(), vIdxVtxAct.begin() + numSorted, rec, keyLess));
		vIdxVtxAct.insert(pos, rec);
		++numSorted;
		return;
	}
	// Constraint and refinement points arrive one by one; inserting each into the
	// sorted vector would move the whole store every time. The tail is scanned
	// by the lookups and merged in once it is longer than twice the square root of the store:
	// amortised, a merge then costs a few pointer moves per insertion.
	vIdxVtxAct.push_back(rec);
	size_t numTail(vIdxVtxAct.size() - numSorted);
	if(numTail > 4096 && numTail * numTail > 4 * numSorted) mergeSingles();
}

void VertexVault::mergeSingles()
{
	if(numSorted == vIdxVtxAct.size()) return;
	// Stable, so that equal keys keep their order of arrival.
	std::stable_sort(vIdxVtxAct.begin() + numSorted, vIdxVtxAct.end(), keyLess);
	mergeBatch();
}

void VertexVault::rekey()
{
	size_t n(vIdxVtxAct.size());
	if(n == 0) return;
	std::vector<uint64_t> vPairs(2 * n);
	for(size_t i = 0; i < n; ++i)
	{
		IdxVtxAct& rec(vIdxVtxAct[i]);
		rec.key = pGrid->getKey(rec.pVtx->x(), rec.pVtx->y());
		vPairs[i] = (uint64_t(rec.key) << 32) | uint64_t(i);
	}
	sortKeyIndexPairs(&vPairs[0], &vPairs[n], n);
	std::vector<IdxVtxAct> vOld(vIdxVtxAct);
	for(size_t i = 0; i < n; ++i) vIdxVtxAct[i] = vOld[vPairs[i] & 0xffffffffu];
	numSorted = n;
}

// Stable LSD radix sort on the 30-bit keys in the upper half, three passes of
// 10 bits, so equal keys keep the order of their positions.
void VertexVault::sortKeyIndexPairs(uint64_t* aPairs, uint64_t* aBuffer, size_t n)
{
	if(n < 2) return;
	const int numDigitBits(10);
	const size_t numBuckets(size_t(1) << numDigitBits);
	size_t aCount[numBuckets + 1];
	uint64_t* pSrc(aPairs);
	uint64_t* pDst(aBuffer);
	for(int pass = 0; pass < 3; ++pass)
	{
		int shift(32 + numDigitBits * pass);
		std::fill(aCount, aCount + numBuckets + 1, 0);
		for(size_t i = 0; i < n; ++i) ++aCount[((pSrc[i] >> shift) & (numBuckets - 1)) + 1];
		if(aCount[((pSrc[0] >> shift) & (numBuckets - 1)) + 1] == n) continue; // one digit value only
		for(size_t b = 1; b <= numBuckets; ++b) aCount[b] += aCount[b - 1];
		for(size_t i = 0; i < n; ++i) pDst[aCount[(pSrc[i] >> shift) & (numBuckets - 1)]++] = pSrc[i];
		std::swap(pSrc, pDst);
	}
	if(pSrc != aPairs) std::copy(pSrc, pSrc + n, aPairs);
}

// The first active vertex a, the next active one that differs from a in x or y,
// and the next active one after it that is not collinear with both. The records
// are in Hilbert order, so the three lie close together.
bool VertexVault::getThreeInitialPoints(Point2*& a, Point2*& b, Point2*& c, size_t* pIdxA)
{
	MIREL_ASSERT(!vIdxVtxAct.empty());
	MIREL_ASSERT(!bFullDimensional);
	if(vIdxVtxAct.size() < 3) return false;
	size_t i(0);
	while(i < vIdxVtxAct.size() && !vIdxVtxAct[i].active) ++i;
	if(i == vIdxVtxAct.size()) return false;
	a = vIdxVtxAct[i].pVtx;
	if(pIdxA != nullptr) *pIdxA = i;
	for(++i; i < vIdxVtxAct.size(); ++i)
	{
		if(vIdxVtxAct[i].active && *vIdxVtxAct[i].pVtx != *a) break;
	}
	if(i == vIdxVtxAct.size()) return false;
	b = vIdxVtxAct[i].pVtx;
	for(++i; i < vIdxVtxAct.size(); ++i)
	{
		if(vIdxVtxAct[i].active && pGeomTest->getOrientation2(a, b, vIdxVtxAct[i].pVtx) != ORIENTATION2_COLLINEAR) break;
	}
	if(i == vIdxVtxAct.size()) return false;
	c = vIdxVtxAct[i].pVtx;
	return true;
}

size_t VertexVault::lowerBound(uint32_t key) const
{
	size_t lo(0), hi(numSorted);
	while(lo < hi)
	{
		size_t mid((lo + hi) / 2);
		if(vIdxVtxAct[mid].key < key) lo = mid + 1;
		else hi = mid;
	}
	return lo;
}

Triangle2* VertexVault::getCloseTriangle(uint32_t key) const
{
	if(numSorted == 0) return nullptr;
	size_t pos(lowerBound(key));
	// Of the records around the position, the one whose key differs less.
	if(pos == numSorted) pos = numSorted - 1;
	else if(pos > 0 && key - vIdxVtxAct[pos - 1].key < vIdxVtxAct[pos].key - key) --pos;
	for(size_t i = pos; i < numSorted; ++i)
	{
		const IdxVtxAct* pRec(&vIdxVtxAct[i]);
		if(pRec->active && pRec->pVtx->getIncidentTriangle() != nullptr) return pRec->pVtx->getIncidentTriangle();
	}
	for(size_t i = pos; i > 0; --i)
	{
		const IdxVtxAct* pRec(&vIdxVtxAct[i - 1]);
		if(pRec->active && pRec->pVtx->getIncidentTriangle() != nullptr) return pRec->pVtx->getIncidentTriangle();
	}
	return nullptr;
}

Point2* VertexVault::findActiveVertexAt(const Point2& p) const
{
	uint32_t key(pGrid->getKey(p.x(), p.y()));
	for(size_t i = lowerBound(key); i < numSorted && vIdxVtxAct[i].key == key; ++i)
	{
		if(vIdxVtxAct[i].active && *vIdxVtxAct[i].pVtx == p) return vIdxVtxAct[i].pVtx;
	}
	for(size_t i = numSorted; i < vIdxVtxAct.size(); ++i)
	{
		if(vIdxVtxAct[i].active && *vIdxVtxAct[i].pVtx == p) return vIdxVtxAct[i].pVtx;
	}
	return nullptr;
}

void VertexVault::registerDup(Point2* pDup, Point2* pExisting)
{
	MIREL_ASSERT(pDup!=0);
	MIREL_ASSERT(pExisting!=0);
	if(pDup == pExisting) return;
	mRedundant2UniqueVtx[pDup] = pExisting;
}

void VertexVault::treatDupsAndHandles(Point2** handles, size_t numHandles)
{
	if(mRedundant2UniqueVtx.empty()) return;
	size_t numFoundInHandles(0);
	size_t numFoundInIdxVtxAct(0);
	if(handles != nullptr)
	{
		for(size_t i = 0; i < numHandles; ++i)
		{
			// A vertex in the mesh has a triangle; only the others can be redundant.
			if(handles[i]->getIncidentTriangle() != nullptr) continue;
			auto it(mRedundant2UniqueVtx.find(handles[i]));
			if(it == mRedundant2UniqueVtx.end()) continue;
			handles[i] = it->second;
			++numFoundInHandles;
		}
	}
	for(const auto& entry : mRedundant2UniqueVtx)
	{
		size_t idx(0);
		if(!findIdx(entry.first, idx)) continue;
		vIdxVtxAct[idx].active = 0;
		--numActive;
		++numFoundInIdxVtxAct;
	}
	bool bHandlesAgree(handles == nullptr || mRedundant2UniqueVtx.size() == numFoundInHandles);
	if(!bHandlesAgree || mRedundant2UniqueVtx.size() != numFoundInIdxVtxAct)
	{
		sendRawText("BUG: mRedundant2UniqueVtx.size()=" + std::to_string(mRedundant2UniqueVtx.size()) + ", numFoundInHandles=" +
					std::to_string(numFoundInHandles) + ", numFoundInIdxVtxAct=" + std::to_string(numFoundInIdxVtxAct) + "\n");
	}
	if(handles != nullptr) MIREL_ASSERT(mRedundant2UniqueVtx.size()==numFoundInHandles);
	MIREL_ASSERT(mRedundant2UniqueVtx.size()==numFoundInIdxVtxAct);
	mRedundant2UniqueVtx.clear();
}

Point2* VertexVault::treatOneDupGetHandle(Point2* pVtx)
{
	auto it(mRedundant2UniqueVtx.find(pVtx));
	MIREL_ASSERT(it!=mRedundant2UniqueVtx.end());
	Point2* pUnique(it->second);
	mRedundant2UniqueVtx.erase(it);
	size_t idx(0);
	bool bFound(findIdx(pVtx, idx));
	MIREL_ASSERT(bFound);
	vIdxVtxAct[idx].active = 0;
	--numActive;
	return pUnique;
}

// Points at one place share their key, and equal keys keep their insertion
// order, so within a run of equal keys the first record at a place is the
// first point given there.
void VertexVault::registerDupsAmongActive()
{
	std::vector<size_t> vRun;
	size_t i(0);
	while(i < numSorted)
	{
		size_t runEnd(i + 1);
		while(runEnd < numSorted && vIdxVtxAct[runEnd].key == vIdxVtxAct[i].key) ++runEnd;
		if(runEnd - i > 1)
		{
			vRun.clear();
			for(size_t k = i; k < runEnd; ++k)
			{
				if(vIdxVtxAct[k].active) vRun.push_back(k);
			}
			std::sort(vRun.begin(), vRun.end(), [this](size_t a, size_t b) {
				const Point2& pa(*vIdxVtxAct[a].pVtx);
				const Point2& pb(*vIdxVtxAct[b].pVtx);
				if(pa != pb) return pa < pb;
				return a < b;
			});
			size_t firstAtPlace(0);
			while(firstAtPlace < vRun.size())
			{
				const Point2& place(*vIdxVtxAct[vRun[firstAtPlace]].pVtx);
				size_t k(firstAtPlace + 1);
				for(; k < vRun.size() && *vIdxVtxAct[vRun[k]].pVtx == place; ++k)
				{
					registerDup(vIdxVtxAct[vRun[k]].pVtx, vIdxVtxAct[vRun[firstAtPlace]].pVtx);
				}
				firstAtPlace = k;
			}
		}
		i = runEnd;
	}
}

bool VertexVault::findIdx(const Point2* pQuery, size_t& idx) const
{
	uint32_t key(pGrid->getKey(pQuery->x(), pQuery->y()));
	for(size_t i = lowerBound(key); i < numSorted && vIdxVtxAct[i].key == key; ++i)
	{
		if(vIdxVtxAct[i].pVtx == pQuery && vIdxVtxAct[i].active)
		{
			idx = i;
			return true;
		}
	}
	for(size_t i = numSorted; i < vIdxVtxAct.size(); ++i)
	{
		if(vIdxVtxAct[i].pVtx == pQuery && vIdxVtxAct[i].active)
		{
			idx = i;
			return true;
		}
	}
	return false;
}

bool VertexVault::findIdxOfActiveVtx(const Point2* pQuery, size_t& idx) const
{
	return pQuery != nullptr && findIdx(pQuery, idx);
}

bool VertexVault::getIdxOfActiveVtx(const Point2* pQuery, size_t& idx) const
{
	if(findIdxOfActiveVtx(pQuery, idx)) return true;
	sendWarning("VertexVault::getIdxOfActiveVtx", "pQuery not found");
	return false;
}

bool VertexVault::deactivate(const Point2* pVtx)
{
	size_t idx(0);
	if(!findIdxOfActiveVtx(pVtx, idx)) return false;
	vIdxVtxAct[idx].active = 0;
	--numActive;
	return true;
}

void VertexVault::getActiveVertices(std::vector<Point2*>& vVertices) const
{
	vVertices.reserve(vVertices.size() + numActive);
	for(const IdxVtxAct& rec : vIdxVtxAct)
	{
		if(rec.active) vVertices.push_back(rec.pVtx);
	}
}

void VertexVault::export_fetchCustomIndices(MirelExport& mirelExport) const
{
	MIREL_ASSERT(mirelExport.aCustomIndices==0);
	MIREL_ASSERT(mirelExport.numCustomIndices==0);
	mirelExport.numCustomIndices = static_cast<int32_t>(numActive);
	if(numActive == 0) return;
	mirelExport.aCustomIndices = new int32_t[numActive];
	int32_t* pOut(mirelExport.aCustomIndices);
	for(const IdxVtxAct& rec : vIdxVtxAct)
	{
		if(rec.active) *pOut++ = rec.pVtx->getCustomIndex();
	}
}

void VertexVault::clear()
{
	std::vector<IdxVtxAct>().swap(vIdxVtxAct);
	mRedundant2UniqueVtx.clear();
	numSorted = 0;
	numActive = 0;
	bFullDimensional = false;
}

// ======================================================================
// Fake box
// ======================================================================

void VertexVault::addFakeBox(Point2* const aCorner[4], const uint32_t aKey[4])
{
	IdxVtxAct aRec[4];
	for(int i = 0; i < 4; ++i) aRec[i] = IdxVtxAct{aKey[i], 1, aCorner[i]};
	std::stable_sort(aRec, aRec + 4, keyLess);
	vIdxVtxAct.insert(vIdxVtxAct.begin() + long(numSorted), aRec, aRec + 4);
	std::inplace_merge(vIdxVtxAct.begin(), vIdxVtxAct.begin() + long(numSorted), vIdxVtxAct.begin() + long(numSorted) + 4, keyLess);
	numSorted += 4;
	numActive += 4;
	vFakeBoxHandles.assign(aCorner, aCorner + 4);
}

Point2* VertexVault::getFakeBoxCorner(size_t i) const
{
	MIREL_ASSERT(vFakeBoxHandles.size()>i);
	return vFakeBoxHandles[i];
}

void VertexVault::removeFakeBox(std::vector<Point2*>& vCorners)
{
	MIREL_ASSERT(vFakeBoxHandles.size()==4);
	vCorners.swap(vFakeBoxHandles);
	vFakeBoxHandles.clear();
}

// Points at one place share their key, and the batch keeps input order among
// equal keys, so the position within the run of a key gives the input order.
void VertexVault::adoptFirstCopyData()
{
	if(mRedundant2UniqueVtx.empty()) return;
	auto batchBegin(vIdxVtxAct.begin() + long(numSorted));
	auto batchEnd(vIdxVtxAct.end());
	auto positionInBatch = [&](Point2* pVtx) -> size_t {
		IdxVtxAct probe{pGrid->getKey(pVtx->x(), pVtx->y()), 0, nullptr};
		auto it(std::lower_bound(batchBegin, batchEnd, probe, keyLess));
		for(; it != batchEnd && it->key == probe.key; ++it)
		{
			if(it->pVtx == pVtx) return size_t(it - batchBegin);
		}
		return size_t(-1);
	};
	std::map<Point2*, std::pair<size_t, Point2*>> mFirstCopy; // kept vertex -> earliest copy
	for(const auto& entry : mRedundant2UniqueVtx)
	{
		size_t posDup(positionInBatch(entry.first));
		if(posDup == size_t(-1)) continue;
		auto it(mFirstCopy.find(entry.second));
		if(it == mFirstCopy.end())
		{
			size_t posKept(positionInBatch(entry.second));
			if(posKept == size_t(-1)) continue; // kept from an earlier insertion
			it = mFirstCopy.insert(std::make_pair(entry.second, std::make_pair(posKept, entry.second))).first;
		}
		if(posDup < it->second.first) it->second = std::make_pair(posDup, entry.first);
	}
	for(const auto& entry : mFirstCopy)
	{
		Point2* pKept(entry.first);
		const Point2* pFirst(entry.second.second);
		if(pFirst == pKept) continue;
		pKept->setZ(pFirst->z());
		pKept->setCustomIndex(pFirst->getCustomIndex());
	}
}

} // namespace MIREL25D
