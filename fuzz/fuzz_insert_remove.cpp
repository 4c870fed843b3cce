// Sequences of batch insertions (all three variants, also on two threads),
// single insertions and removals, with NaN, infinite and out-of-range points
// mixed in; after every step the independent validator checks the whole mesh
// and the handles.
#include "FuzzSupport.h"

using namespace fuzz;

namespace {
bool isAccepted(const Point2& p)
{
	return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()) && std::fabs(p.x()) <= 1e300 && std::fabs(p.y()) <= 1e300;
}

std::vector<Point2> decodeBatch(Bytes& in, size_t maxPoints)
{
	std::vector<Point2> v;
	size_t n(1 + in.below(uint32_t(maxPoints)));
	bool bRaw(in.below(4) == 0);
	for(size_t i = 0; i < n && !in.empty(); ++i) v.push_back(in.point(!bRaw));
	return v;
}

// A larger batch from a few bytes: a grid, a circle-like ring or a cluster,
// so that two threads take the parallel path.
std::vector<Point2> decodeLargeBatch(Bytes& in)
{
	std::vector<Point2> v;
	double offset(in.coordinate()), step(std::ldexp(1.0, int(in.below(40)) - 20));
	int kind(in.below(3));
	for(int i = 0; i < 1000; ++i)
	{
		if(kind == 0) v.push_back(Point2(offset + step * (i % 33), offset + step * (i / 33), 0));
		else if(kind == 1) v.push_back(Point2(offset + step * std::cos(i * 0.0057), offset + step * std::sin(i * 0.0057), 0));
		else v.push_back(Point2(std::nextafter(offset, 1e308) + step * ((i * 7919) % 101), offset + step * ((i * 104729) % 97), 0));
	}
	return v;
}

// Handles in input order: null for refused points, else the vertex at the
// point's place; equal places share one vertex.
void checkHandles(const std::vector<Point2>& vPoints, const std::vector<Point2*>& vHandles)
{
	FUZZ_CHECK(vHandles.size() == vPoints.size());
	std::map<Point2, Point2*> mFirst;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		if(!isAccepted(vPoints[i]))
		{
			FUZZ_CHECK(vHandles[i] == nullptr);
			continue;
		}
		FUZZ_CHECK(vHandles[i] != nullptr && *vHandles[i] == vPoints[i]);
		auto ins(mFirst.insert(std::make_pair(vPoints[i], vHandles[i])));
		FUZZ_CHECK(ins.first->second == vHandles[i]);
	}
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	QuietStdout quiet;
	Bytes in(data, size);
	Mirel_2D dt(3 + in.below(50));
	std::vector<Point2> vPlaces; // where vertices must be
	auto addPlaces = [&](const std::vector<Point2>& v) {
		for(const Point2& p : v)
			if(isAccepted(p)) vPlaces.push_back(p);
	};
	for(int step = 0; step < 12 && !in.empty(); ++step)
	{
		switch(in.below(7))
		{
			case 0:
			{
				std::vector<Point2> v(decodeBatch(in, 40));
				dt.insert(v);
				addPlaces(v);
				break;
			}
			case 1:
			{
				std::vector<Point2> v(decodeBatch(in, 40));
				std::vector<Point2*> vHandles;
				dt.insert(v, vHandles);
				checkHandles(v, vHandles);
				addPlaces(v);
				break;
			}
			case 2:
			{
				std::vector<Point2> v(decodeBatch(in, 40));
				std::vector<double> vCoords;
				for(const Point2& p : v) vCoords.insert(vCoords.end(), {p.x(), p.y(), p.z()});
				std::vector<Point2*> vHandles(v.size(), nullptr);
				dt.insert(int(v.size()), vCoords.data(), vHandles.data());
				checkHandles(v, vHandles);
				addPlaces(v);
				break;
			}
			case 3:
			{
				Point2 p(in.point(in.below(4) != 0));
				Point2* pVtx(dt.insert(p));
				FUZZ_CHECK(isAccepted(p) ? (pVtx != nullptr && *pVtx == p) : pVtx == nullptr);
				if(isAccepted(p)) vPlaces.push_back(p);
				break;
			}
			case 4:
			case 5:
			{
				std::vector<Point2*> vVtx;
				dt.getVertexPointers(vVtx);
				if(vVtx.empty()) break;
				Point2* pGone(vVtx[in.below(uint32_t(vVtx.size()))]);
				Point2 gone(*pGone);
				dt.remove(pGone);
				vPlaces.erase(std::remove(vPlaces.begin(), vPlaces.end(), gone), vPlaces.end());
				break;
			}
			default:
			{
				if(in.below(16) != 1) break; // the large batch stays rare (and never from exhausted bytes): it costs most
				std::vector<Point2> v(decodeLargeBatch(in));
				dt.setNumCPU(2);
				std::vector<Point2*> vHandles;
				dt.insert(v, vHandles);
				dt.setNumCPU(1);
				checkHandles(v, vHandles);
				addPlaces(v);
				break;
			}
		}
		// Every step while the mesh is small; large meshes once at the end.
		if(vPlaces.size() < 300) validate(dt, vPlaces, true);
		Point2 q(in.point(in.below(2) != 0));
		Triangle2* pT(dt.locate(q));
		if(pT != nullptr) FUZZ_CHECK(exactOrientation(*pT->getCorner(0), *pT->getCorner(1), q) >= 0 && exactOrientation(*pT->getCorner(1), *pT->getCorner(2), q) >= 0 &&
			exactOrientation(*pT->getCorner(2), *pT->getCorner(0), q) >= 0);
	}
	validate(dt, vPlaces, true);
	return 0;
}
