#pragma once
// What the fuzz harnesses share: a decoder that turns fuzz bytes into the
// coordinates that are hard for a triangulation (grid values, points one ulp
// apart, huge offsets, subnormal spreads, repeats, raw doubles including NaN
// and infinities), and an independent validator in exact rational arithmetic
// that aborts on the first broken property.
#include "Mirel25D.h"
#include <gmpxx.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {
using namespace MIREL25D;

#define FUZZ_CHECK(cond)                                                                  \
	do                                                                                    \
	{                                                                                     \
		if(!(cond))                                                                       \
		{                                                                                 \
			std::fprintf(stderr, "FUZZ_CHECK failed: %s (%s:%d)\n", #cond, __FILE__, __LINE__); \
			std::abort();                                                                 \
		}                                                                                 \
	} while(0)

// Messages of the library go to standard output; a fuzzer run would drown in them.
struct QuietStdout
{
	QuietStdout() { std::cout.setstate(std::ios::failbit); }
	~QuietStdout() { std::cout.clear(); }
};

class Bytes
{
public:
	Bytes(const uint8_t* data_, size_t size_) : data(data_), size(size_), pos(0) {}
	bool empty() const { return pos >= size; }
	uint8_t byte()
	{
		return pos < size ? data[pos++] : 0;
	}
	uint32_t below(uint32_t n) { return n == 0 ? 0 : byte() % n; }
	uint64_t u64()
	{
		uint64_t v(0);
		for(int i = 0; i < 8; ++i) v |= uint64_t(byte()) << (8 * i);
		return v;
	}
	double rawDouble()
	{
		uint64_t bits(u64());
		double d;
		std::memcpy(&d, &bits, 8);
		return d;
	}

	// One coordinate; bFinite excludes NaN and infinities. Earlier values are
	// remembered so that repeats and one-ulp neighbours are common.
	double coordinate(bool bFinite = true)
	{
		double v(0.0);
		switch(byte() % 10)
		{
			case 0:
			case 1: v = double(int(byte() % 17) - 8); break; // a small grid
			case 2: v = 1e9 + double(int(byte() % 33) - 16) * 0.25; break; // grid with a huge offset
			case 3: // one to three ulps away from an earlier value
			{
				double base(recall());
				int steps(1 + byte() % 3);
				double dir(byte() % 2 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity());
				for(int i = 0; i < steps; ++i) base = std::nextafter(base, dir);
				v = base;
				break;
			}
			case 4: v = recall(); break; // a repeat
			case 5: v = double(int(byte() % 9) - 4) * 4.9406564584124654e-324 * double(1 + byte() % 4); break; // subnormal spread
			case 6: v = (byte() % 2 ? 1.0 : -1.0) * 1e300 * double(1 + byte() % 8) / 8.0; break; // at the edge of the range
			case 7: v = double(int(byte() % 201) - 100) / 7.0; break; // values with rounding
			case 8:
			{
				v = rawDouble();
				if(bFinite && !std::isfinite(v)) v = 0.5;
				break;
			}
			default: v = double(int16_t(uint16_t(byte()) | uint16_t(byte()) << 8)) / 64.0; break;
		}
		if(bFinite && !std::isfinite(v)) v = 1.0;
		vRecent.push_back(v);
		return v;
	}
	Point2 point(bool bFinite = true)
	{
		double x(coordinate(bFinite)), y(coordinate(bFinite));
		return Point2(x, y, double(byte()));
	}

private:
	double recall() { return vRecent.empty() ? 0.0 : vRecent[byte() % vRecent.size()]; }
	const uint8_t* data;
	size_t size;
	size_t pos;
	std::vector<double> vRecent;
};

inline int exactOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	mpq_class ax(a.x()), ay(a.y()), bx(b.x()), by(b.y()), cx(c.x()), cy(c.y());
	return sgn(mpq_class((ax - cx) * (by - cy) - (ay - cy) * (bx - cx)));
}

// > 0: d strictly inside the circle through the counterclockwise a, b, c.
inline int exactInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	mpq_class adx(mpq_class(a.x()) - d.x()), ady(mpq_class(a.y()) - d.y());
	mpq_class bdx(mpq_class(b.x()) - d.x()), bdy(mpq_class(b.y()) - d.y());
	mpq_class cdx(mpq_class(c.x()) - d.x()), cdy(mpq_class(c.y()) - d.y());
	mpq_class la(adx * adx + ady * ady), lb(bdx * bdx + bdy * bdy), lc(cdx * cdx + cdy * cdy);
	return sgn(mpq_class(adx * (bdy * lc - lb * cdy) - ady * (bdx * lc - lb * cdx) + la * (bdx * cdy - bdy * cdx)));
}

// Differences that are zero or of magnitude in [1e-60, 1e60]: then no
// product of up to four of them under- or overflows, and relative error
// bounds hold.
inline bool moderate(std::initializer_list<double> vDifferences)
{
	for(double d : vDifferences)
	{
		double m(std::fabs(d));
		if(m != 0.0 && !(m >= 1e-60 && m <= 1e60)) return false;
	}
	return true;
}

// The same signs with a generous double filter in front (a bound far above
// the rounding error; anything near underflow or overflow goes to the rationals),
// for validating whole meshes quickly.
inline int filteredOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	double l((a.x() - c.x()) * (b.y() - c.y())), r((a.y() - c.y()) * (b.x() - c.x()));
	double perm(std::fabs(l) + std::fabs(r));
	if(moderate({a.x() - c.x(), b.y() - c.y(), a.y() - c.y(), b.x() - c.x()}))
	{
		double det(l - r), bound(1e-12 * perm);
		if(det > bound) return 1;
		if(det < -bound) return -1;
	}
	return exactOrientation(a, b, c);
}

inline int filteredInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	double adx(a.x() - d.x()), ady(a.y() - d.y()), bdx(b.x() - d.x()), bdy(b.y() - d.y()), cdx(c.x() - d.x()), cdy(c.y() - d.y());
	double la(adx * adx + ady * ady), lb(bdx * bdx + bdy * bdy), lc(cdx * cdx + cdy * cdy);
	double det(la * (bdx * cdy - bdy * cdx) + lb * (cdx * ady - cdy * adx) + lc * (adx * bdy - ady * bdx));
	double perm(la * (std::fabs(bdx * cdy) + std::fabs(bdy * cdx)) + lb * (std::fabs(cdx * ady) + std::fabs(cdy * adx)) +
		lc * (std::fabs(adx * bdy) + std::fabs(ady * bdx)));
	if(moderate({adx, ady, bdx, bdy, cdx, cdy}))
	{
		double bound(1e-12 * perm);
		if(det > bound) return 1;
		if(det < -bound) return -1;
	}
	return exactInCircle(a, b, c, d);
}

// Twice the area of the convex hull of the places (monotone chain, exact).
inline mpq_class hullArea2(std::vector<Point2> v)
{
	std::sort(v.begin(), v.end());
	v.erase(std::unique(v.begin(), v.end()), v.end());
	if(v.size() < 3) return 0;
	std::vector<Point2> hull;
	for(int pass = 0; pass < 2; ++pass)
	{
		size_t base(hull.size());
		for(const Point2& p : v)
		{
			while(hull.size() >= base + 2 && filteredOrientation(hull[hull.size() - 2], hull.back(), p) <= 0) hull.pop_back();
			hull.push_back(p);
		}
		hull.pop_back();
		std::reverse(v.begin(), v.end());
	}
	mpq_class area(0);
	for(size_t i = 0; i < hull.size(); ++i)
	{
		const Point2& a(hull[i]);
		const Point2& b(hull[(i + 1) % hull.size()]);
		area += mpq_class(a.x()) * mpq_class(b.y()) - mpq_class(a.y()) * mpq_class(b.x());
	}
	return area;
}

inline mpq_class triangleArea2(const Triangle2* pT)
{
	const Point2 &a(*pT->getCorner(0)), &b(*pT->getCorner(1)), &c(*pT->getCorner(2));
	return (mpq_class(b.x()) - a.x()) * (mpq_class(c.y()) - a.y()) - (mpq_class(b.y()) - a.y()) * (mpq_class(c.x()) - a.x());
}

// The mesh must hold exactly the given places as vertices, tile their convex
// hull with counterclockwise triangles (areas sum to the hull's area) linked
// both ways over identical edges and, with bDelaunay, satisfy the empty-circle
// property on every edge that is not a constraint.
inline void validate(Mirel_2D& dt, const std::vector<Point2>& vPlaces, bool bDelaunay)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	FUZZ_CHECK(vVtx.size() == dt.numberOfPoints());
	FUZZ_CHECK(vT.size() == dt.numberOfTriangles());
	std::set<Point2> sExpected(vPlaces.begin(), vPlaces.end()), sVtx;
	for(Point2* pV : vVtx) sVtx.insert(*pV);
	FUZZ_CHECK(sVtx == sExpected);
	FUZZ_CHECK(vVtx.size() == sExpected.size());
	mpq_class hull(hullArea2(vPlaces));
	FUZZ_CHECK((sgn(hull) == 0) == vT.empty());
	FUZZ_CHECK(dt.hasArea() == !vT.empty());
	std::set<const Triangle2*> sLive(vT.begin(), vT.end());
	std::set<const Point2*> sVtxPtr(vVtx.begin(), vVtx.end());
	mpq_class sum(0);
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i) FUZZ_CHECK(sVtxPtr.count(pT->getCorner(i)) == 1);
		FUZZ_CHECK(filteredOrientation(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)) > 0);
		sum += triangleArea2(pT);
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pN(pT->getOppositeTriangle(i));
			if(pN == nullptr) continue;
			FUZZ_CHECK(sLive.count(pN) == 1);
			int j(-1);
			for(int k = 0; k < 3; ++k)
				if(pN->getOppositeTriangle(k) == pT) j = k;
			FUZZ_CHECK(j >= 0);
			FUZZ_CHECK(pN->getCorner((j + 1) % 3) == pT->getCorner((i + 2) % 3));
			FUZZ_CHECK(pN->getCorner((j + 2) % 3) == pT->getCorner((i + 1) % 3));
			if(bDelaunay && !dt.isConstraint(pT, i))
				FUZZ_CHECK(filteredInCircle(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), *pN->getCorner(j)) <= 0);
		}
	}
	FUZZ_CHECK(sum == hull);
	for(Point2* pV : vVtx)
	{
		if(vT.empty()) break;
		Triangle2* pInc(pV->getIncidentTriangle());
		FUZZ_CHECK(pInc != nullptr && sLive.count(pInc) == 1 && pInc->hasVertex(pV));
	}
}

} // namespace fuzz
