#pragma once
// What several test files share: exact rational predicates (an oracle of
// their own, no library predicate), a validator of a whole triangulation,
// point sets that stress it, output capture, and rendering a PostScript
// drawing with Ghostscript.
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "MirelException.h"
#include "Mirel_2D.h"
#include <gmpxx.h>
#include <gtest/gtest.h>
#include <png.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace mtest {
using namespace MIREL25D;

inline std::string readFile(const std::string& name)
{
	std::ifstream in(name, std::ios::binary);
	std::stringstream ss;
	ss << in.rdbuf();
	return ss.str();
}

inline size_t countOf(const std::string& text, const std::string& what)
{
	size_t n(0);
	for(size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + what.size())) ++n;
	return n;
}

// Byte-exact expected texts live in files under tests/data. Run the tests with
// MIREL_REGENERATE_GOLDEN=1 in the environment to write the texts produced
// instead of comparing them (then review the difference before committing).
inline void expectGolden(const std::string& name, const std::string& actual)
{
	std::string path(std::string(MIREL_TEST_DATA_DIR) + "/" + name);
	const char* regenerate(std::getenv("MIREL_REGENERATE_GOLDEN"));
	if(regenerate != nullptr && std::string(regenerate) == "1")
	{
		std::ofstream(path, std::ios::binary) << actual;
		return;
	}
	std::ifstream in(path, std::ios::binary);
	ASSERT_TRUE(bool(in)) << "missing golden file " << path << " (MIREL_REGENERATE_GOLDEN=1 writes it)";
	EXPECT_EQ(actual, readFile(path)) << "differs from " << path;
}

template<typename T> std::string streamed(const T& value)
{
	std::ostringstream ss;
	ss << value;
	return ss.str();
}

template<class F> std::string captureStdout(F f)
{
	testing::internal::CaptureStdout();
	f();
	return testing::internal::GetCapturedStdout();
}

// Runs f, which must fail an assertion; returns the banner it printed.
template<class F> std::string assertionBanner(F f)
{
	testing::internal::CaptureStdout();
	bool bThrown(false);
	try
	{
		f();
	}
	catch(const MirelException&)
	{
		bThrown = true;
	}
	std::string out(testing::internal::GetCapturedStdout());
	EXPECT_TRUE(bThrown) << "no assertion failed";
	return out;
}

// ---------------------------------------------------------------------------
// Exact predicates in rationals

// 1: counterclockwise, -1: clockwise, 0: collinear.
inline int exactOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	mpq_class ax(a.x()), ay(a.y()), bx(b.x()), by(b.y()), cx(c.x()), cy(c.y());
	return sgn(mpq_class((ax - cx) * (by - cy) - (ay - cy) * (bx - cx)));
}

// > 0: d strictly inside the circumcircle of the counterclockwise a, b, c.
inline int exactInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	mpq_class adx(mpq_class(a.x()) - d.x()), ady(mpq_class(a.y()) - d.y());
	mpq_class bdx(mpq_class(b.x()) - d.x()), bdy(mpq_class(b.y()) - d.y());
	mpq_class cdx(mpq_class(c.x()) - d.x()), cdy(mpq_class(c.y()) - d.y());
	mpq_class la(adx * adx + ady * ady), lb(bdx * bdx + bdy * bdy), lc(cdx * cdx + cdy * cdy);
	return sgn(mpq_class(adx * (bdy * lc - lb * cdy) - ady * (bdx * lc - lb * cdx) + la * (bdx * cdy - bdy * cdx)));
}

// The exact predicates with a double filter in front, for large meshes: the
// double determinant decides where it clears a bound well above its rounding
// error, the rationals decide the rest (and anything near underflow or overflow).
inline int filteredOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	double l((a.x() - c.x()) * (b.y() - c.y())), r((a.y() - c.y()) * (b.x() - c.x()));
	double perm(std::fabs(l) + std::fabs(r));
	if(std::isfinite(perm) && perm > 1e-250)
	{
		double det(l - r), bound(1e-14 * perm);
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
	if(std::isfinite(perm) && perm > 1e-250)
	{
		double bound(1e-14 * perm);
		if(det > bound) return 1;
		if(det < -bound) return -1;
	}
	return exactInCircle(a, b, c, d);
}

// Hull places of a point set, collinear border points included (monotone chain).
inline size_t countHullPlaces(std::vector<Point2> vPoints)
{
	std::sort(vPoints.begin(), vPoints.end());
	vPoints.erase(std::unique(vPoints.begin(), vPoints.end()), vPoints.end());
	if(vPoints.size() < 3) return vPoints.size();
	std::vector<Point2> vHull;
	for(int pass = 0; pass < 2; ++pass)
	{
		size_t base(vHull.size());
		for(const Point2& p : vPoints)
		{
			while(vHull.size() >= base + 2 && filteredOrientation(vHull[vHull.size() - 2], vHull.back(), p) < 0) vHull.pop_back();
			vHull.push_back(p);
		}
		vHull.pop_back(); // the last point starts the other chain
		std::reverse(vPoints.begin(), vPoints.end());
	}
	return vHull.size();
}

enum class EmptyCircles
{
	ignored,          // topology only
	everyEdge,        // Delaunay
	exceptConstraints // constrained Delaunay: constraint pieces are exempt
};

// The one validator of every suite, in exact rationals (no library predicate):
// counterclockwise triangles, mutual neighbour links over identical edges, valid
// incident triangles, 2n-2-h triangles and h border edges (h from an independent
// hull), the empty-circle property as asked, and every alive constraint piece an
// edge of the mesh, no two pieces on one edge. A mesh whose points all lie on
// one line has no triangle.
inline void validateMesh(Dt2& dt, EmptyCircles emptyCircles = EmptyCircles::everyEdge)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	ASSERT_EQ(vT.size(), dt.numberOfTriangles());
	std::vector<Point2> vPlaces;
	for(Point2* pVtx : vVtx) vPlaces.push_back(*pVtx);
	size_t n(std::set<Point2>(vPlaces.begin(), vPlaces.end()).size());
	ASSERT_EQ(n, vVtx.size()) << "two vertices at one place";
	size_t h(countHullPlaces(vPlaces));
	bool bFlat(true); // all places on one line
	for(size_t i = 2; i < n && bFlat; ++i) bFlat = filteredOrientation(vPlaces[0], vPlaces[1], vPlaces[i]) == 0;
	if(bFlat)
	{
		ASSERT_EQ(vT.size(), 0u);
		ASSERT_FALSE(dt.hasArea());
		for(Point2* pVtx : vVtx) ASSERT_EQ(pVtx->getIncidentTriangle(), nullptr);
		return;
	}
	ASSERT_TRUE(dt.hasArea());
	ASSERT_EQ(vT.size(), 2 * n - 2 - h);

	std::set<std::pair<const Point2*, const Point2*>> sPieces; // as (smaller, larger) address
	std::vector<ConstraintSegment2*> vAlive;
	dt.getAliveConstraintSegments(vAlive);
	for(ConstraintSegment2* pCSeg : vAlive)
		ASSERT_TRUE(sPieces.insert(std::minmax<const Point2*>(pCSeg->getSrc(), pCSeg->getTrg())).second) << "two pieces on one edge";
	size_t numPieceEdges(0);

	std::set<const Triangle2*> sLive(vT.begin(), vT.end());
	std::set<const Point2*> sCorners;
	size_t numHullEdges(0);
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i) sCorners.insert(pT->getCorner(i));
		ASSERT_EQ(filteredOrientation(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)), 1);
		for(int i = 0; i < 3; ++i)
		{
			bool bPiece(sPieces.count(std::minmax<const Point2*>(pT->getCorner(nextIndex(i)), pT->getCorner(prevIndex(i)))) > 0);
			Triangle2* pN(pT->getOppositeTriangle(i));
			if(pN == nullptr)
			{
				++numHullEdges;
				numPieceEdges += bPiece ? 2 : 0;
				continue;
			}
			numPieceEdges += bPiece ? 1 : 0;
			ASSERT_EQ(sLive.count(pN), 1u);
			int j(-1);
			for(int k = 0; k < 3; ++k)
				if(pN->getOppositeTriangle(k) == pT) j = k;
			ASSERT_GE(j, 0) << "neighbour does not point back";
			ASSERT_EQ(pN->getCorner(nextIndex(j)), pT->getCorner(prevIndex(i)));
			ASSERT_EQ(pN->getCorner(prevIndex(j)), pT->getCorner(nextIndex(i)));
			bool bChecked(emptyCircles == EmptyCircles::everyEdge || (emptyCircles == EmptyCircles::exceptConstraints && !bPiece));
			ASSERT_TRUE(!bChecked || filteredInCircle(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), *pN->getCorner(j)) <= 0)
				<< "edge not Delaunay";
		}
	}
	ASSERT_EQ(numHullEdges, h);
	ASSERT_EQ(numPieceEdges, 2 * sPieces.size()) << "a constraint piece is no edge";
	ASSERT_EQ(sCorners.size(), vVtx.size());
	for(Point2* pVtx : vVtx)
	{
		ASSERT_EQ(sCorners.count(pVtx), 1u);
		Triangle2* pInc(pVtx->getIncidentTriangle());
		ASSERT_EQ(sLive.count(pInc), 1u);
		ASSERT_TRUE(pInc->hasVertex(pVtx));
	}
}

// validateMesh, and the vertices are exactly the expected places.
inline void validate(Mirel_2D& dt, const std::vector<Point2>& vExpectedPlaces, bool bDelaunay = true)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	ASSERT_EQ(vVtx.size(), dt.numberOfPoints());
	std::set<Point2> sExpected(vExpectedPlaces.begin(), vExpectedPlaces.end()), sVtxPlaces;
	for(Point2* pVtx : vVtx) sVtxPlaces.insert(*pVtx);
	ASSERT_TRUE(sVtxPlaces == sExpected);
	validateMesh(*dt.getImpl(), bDelaunay ? EmptyCircles::everyEdge : EmptyCircles::ignored);
}

// A triangle as its three places, sorted: the same key for any corner order.
using TriangleKey = std::array<std::pair<double, double>, 3>;
inline TriangleKey triangleKey(std::pair<double, double> a, std::pair<double, double> b, std::pair<double, double> c)
{
	TriangleKey key{{a, b, c}};
	std::sort(key.begin(), key.end());
	return key;
}

// The mesh's triangles as place keys, for comparing two triangulations.
inline std::set<TriangleKey> triangleKeys(Mirel_2D& dt)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::set<TriangleKey> s;
	auto xy = [](const Point2* p) { return std::make_pair(p->x(), p->y()); };
	for(Triangle2* pT : vT) s.insert(triangleKey(xy(pT->getCorner(0)), xy(pT->getCorner(1)), xy(pT->getCorner(2))));
	return s;
}

// Handles in input order: each maps to the vertex at its place, which carries
// the first z and custom index given there; equal places share one vertex.
inline void checkHandles(const std::vector<Point2>& vPoints, const std::vector<Point2*>& vHandles)
{
	ASSERT_EQ(vPoints.size(), vHandles.size());
	std::map<Point2, std::pair<const Point2*, Point2*>> mFirst;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		ASSERT_NE(vHandles[i], nullptr);
		ASSERT_TRUE(*vHandles[i] == vPoints[i]);
		auto ins(mFirst.insert(std::make_pair(vPoints[i], std::make_pair(&vPoints[i], vHandles[i]))));
		ASSERT_EQ(ins.first->second.second, vHandles[i]) << "duplicate " << i << " resolves to another vertex";
		ASSERT_EQ(vHandles[i]->z(), ins.first->second.first->z()) << "the vertex keeps the first height";
		ASSERT_EQ(vHandles[i]->getCustomIndex(), ins.first->second.first->getCustomIndex()) << "the vertex keeps the first custom index";
	}
}

// ---------------------------------------------------------------------------
// Point sets; z and the custom index count the points.

inline std::vector<Point2> uniformPoints(std::mt19937& rng, size_t n, double lo, double hi)
{
	std::uniform_real_distribution<double> d(lo, hi);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i)
	{
		double x(d(rng)), y(d(rng));
		v.push_back(Point2(x, y, double(i)));
		v.back().setCustomIndex(int(i));
	}
	return v;
}

inline std::vector<Point2> clusteredPoints(std::mt19937& rng, size_t n)
{
	std::uniform_real_distribution<double> centre(0.0, 1000.0);
	std::normal_distribution<double> spread(0.0, 0.01);
	std::vector<Point2> v;
	for(size_t c = 0; c < 8; ++c)
	{
		double cx(centre(rng)), cy(centre(rng));
		for(size_t i = 0; i < n / 8; ++i) v.push_back(Point2(cx + spread(rng), cy + spread(rng), double(v.size())));
	}
	return v;
}

inline std::vector<Point2> gridPoints(int nx, int ny, double step, double offset)
{
	std::vector<Point2> v;
	for(int i = 0; i < nx; ++i)
		for(int j = 0; j < ny; ++j) v.push_back(Point2(offset + i * step, offset + j * step, double(i - j)));
	return v;
}

// Exactly cocircular integer points: Pythagorean directions on a radius that
// all their hypotenuses divide, times scale.
inline std::vector<Point2> circlePoints(size_t n, double scale)
{
	const double r(12882250225.0 * scale);
	std::vector<Point2> v;
	const int aTriples[][3] = {{3, 4, 5}, {5, 12, 13}, {8, 15, 17}, {7, 24, 25}, {20, 21, 29}, {12, 35, 37}, {9, 40, 41}, {28, 45, 53}};
	for(const auto& t : aTriples)
	{
		double s(r / t[2]);
		for(int sx = -1; sx <= 1; sx += 2)
			for(int sy = -1; sy <= 1; sy += 2)
			{
				v.push_back(Point2(sx * t[0] * s, sy * t[1] * s, 0.0));
				v.push_back(Point2(sx * t[1] * s, sy * t[0] * s, 0.0));
			}
	}
	for(const Point2& p : {Point2(r, 0, 0), Point2(-r, 0, 0), Point2(0, r, 0), Point2(0, -r, 0)}) v.push_back(p);
	if(v.size() > n) v.resize(n);
	return v;
}

// Points on three crossing lines.
inline std::vector<Point2> collinearRuns(std::mt19937& rng, size_t n)
{
	std::uniform_int_distribution<int> d(-50, 50);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i)
	{
		int t(d(rng));
		switch(i % 3)
		{
			case 0: v.push_back(Point2(t, 2 * t + 1, 1.0)); break; // on y = 2x + 1
			case 1: v.push_back(Point2(t, -t, 2.0)); break; // on y = -x
			default: v.push_back(Point2(d(rng), 7, 3.0)); break; // on y = 7
		}
	}
	return v;
}

// v followed by as many later copies of its points, partly shuffled in.
inline std::vector<Point2> withDuplicates(std::mt19937& rng, std::vector<Point2> v)
{
	std::uniform_int_distribution<size_t> pick(0, v.size() - 1);
	size_t n(v.size());
	for(size_t i = 0; i < n; ++i)
	{
		Point2 p(v[pick(rng)]);
		p.setZ(-1000.0 - double(i)); // a later copy: its z must not win
		v.push_back(p);
	}
	std::shuffle(v.begin() + long(n / 2), v.end(), rng);
	return v;
}

// ---------------------------------------------------------------------------
// Rendering PostScript drawings with Ghostscript

inline bool ghostscriptAvailable()
{
	return std::system("gs --version > /dev/null 2>&1") == 0;
}

// An image: width, height and RGB bytes.
struct Image
{
	int width = 0, height = 0;
	std::string rgb;
};

// Reads a PNG file as RGB bytes.
inline bool readPng(const std::string& name, Image& img)
{
	png_image image{};
	image.version = PNG_IMAGE_VERSION;
	if(!png_image_begin_read_from_file(&image, name.c_str())) return false;
	image.format = PNG_FORMAT_RGB;
	img.rgb.resize(PNG_IMAGE_SIZE(image));
	img.width = int(image.width);
	img.height = int(image.height);
	return png_image_finish_read(&image, nullptr, &img.rgb[0], 0, nullptr) != 0;
}

// Renders psFile with Ghostscript at the given resolution into pngFile and
// `image`. False, with Ghostscript's output in log, if Ghostscript fails or
// reports an error.
inline bool render(const std::string& psFile, const std::string& pngFile, int dpi, Image& image, std::string& log)
{
	std::string logFile(psFile + ".gs.log");
	bool bOk(std::system(("gs -q -dSAFER -dBATCH -dNOPAUSE -r" + std::to_string(dpi) + " -sDEVICE=png16m -sOutputFile=" + pngFile + " " + psFile + " > " +
							 logFile + " 2>&1").c_str()) == 0);
	log = readFile(logFile);
	return bOk && log.find("Error") == std::string::npos && readPng(pngFile, image);
}

inline size_t countNonWhite(const Image& img)
{
	size_t n(0);
	for(size_t i = 0; i + 2 < img.rgb.size(); i += 3)
	{
		if(img.rgb[i] != char(255) || img.rgb[i + 1] != char(255) || img.rgb[i + 2] != char(255)) ++n;
	}
	return n;
}

} // namespace mtest
