// Cut and fill between two terrains, checked against exact rational
// integration of the input surfaces (GMP), never against the library's own
// combined triangulation: areas, net volume, and the cut and fill volumes
// where the second surface is a plane.
#include "CutAndFill.h"
#include "Dt2.h"
#include "Visualizer2.h"
#include "test_support.h"
#include <array>
#include <functional>
#include <memory>

namespace {
using namespace MIREL25D;
using namespace mtest;

typedef std::function<double(double, double)> HeightFunc;

// A terrain over the unit square: its corners plus n random points, heights
// from f; the zone holds all triangles.
struct Terrain
{
	Terrain(std::mt19937& rng, size_t n, const HeightFunc& f, double lo = 0.0, double hi = 1.0) : dt(unsigned(n + 4))
	{
		std::vector<Point2> vPoints{Point2(lo, lo, 0), Point2(hi, lo, 0), Point2(hi, hi, 0), Point2(lo, hi, 0)};
		std::vector<Point2> vRandom(uniformPoints(rng, n, lo, hi));
		vPoints.insert(vPoints.end(), vRandom.begin(), vRandom.end());
		for(Point2& p : vPoints) p.setZ(f(p.x(), p.y()));
		dt.insert(vPoints);
		pZone = dt.createZone(nullptr, ZL_GLOBAL, false);
	}
	Mirel_2D dt;
	Zone2* pZone;
};

mpq_class twiceArea(const mpq_class& ax, const mpq_class& ay, const mpq_class& bx, const mpq_class& by, const mpq_class& cx, const mpq_class& cy)
{
	return (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
}

// Exact integral of max(g, 0) over a triangle on which g is linear, g given at
// the corners: the triangle is clipped at g = 0 and the piece integrated.
struct ExactVertex
{
	mpq_class x, y, g;
};
mpq_class positivePartIntegral(const ExactVertex (&tri)[3])
{
	std::vector<ExactVertex> vPoly;
	for(int i = 0; i < 3; ++i)
	{
		const ExactVertex& p(tri[i]);
		const ExactVertex& q(tri[(i + 1) % 3]);
		if(sgn(p.g) >= 0) vPoly.push_back(p);
		if(sgn(p.g) * sgn(q.g) < 0)
		{
			mpq_class t(p.g / (p.g - q.g));
			vPoly.push_back(ExactVertex{p.x + t * (q.x - p.x), p.y + t * (q.y - p.y), mpq_class(0)});
		}
	}
	mpq_class sum(0);
	for(size_t i = 1; i + 1 < vPoly.size(); ++i)
	{
		const ExactVertex &a(vPoly[0]), &b(vPoly[i]), &c(vPoly[i + 1]);
		sum += twiceArea(a.x, a.y, b.x, b.y, c.x, c.y) * (a.g + b.g + c.g);
	}
	return sum / 6;
}

struct ExactIntegrals
{
	mpq_class area, volume, positive, negative; // of g = z - plane
};
// Over the zone's triangles: area, integral of z, and the integrals of the
// positive and negative parts of z minus the plane (a*x + c).
ExactIntegrals integrate(Zone2* pZone, double planeA, double planeC)
{
	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	ExactIntegrals result;
	for(Triangle2* pT : vT)
	{
		ExactVertex tri[3], neg[3];
		for(int i = 0; i < 3; ++i)
		{
			const Point2* p(pT->getCorner(i));
			mpq_class g(mpq_class(p->z()) - mpq_class(planeA) * mpq_class(p->x()) - mpq_class(planeC));
			tri[i] = ExactVertex{mpq_class(p->x()), mpq_class(p->y()), g};
			neg[i] = ExactVertex{tri[i].x, tri[i].y, -g};
		}
		mpq_class a2(twiceArea(tri[0].x, tri[0].y, tri[1].x, tri[1].y, tri[2].x, tri[2].y));
		result.area += a2 / 2;
		result.volume += a2 * (mpq_class(pT->getCorner(0)->z()) + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 6;
		result.positive += positivePartIntegral(tri);
		result.negative += positivePartIntegral(neg);
	}
	return result;
}

struct Totals
{
	double cut = 0.0, fill = 0.0;
	size_t numCut = 0, numFill = 0, numNull = 0;
	mpq_class area;
};
Totals totalsOf(const CutAndFill& caf)
{
	Totals totals;
	std::vector<Triangle2*> vT;
	for(uint64_t i = 0; i < caf.getNumberOfComponents(); ++i)
	{
		CAF_Component* pC(caf.getComponent(i));
		EXPECT_EQ(pC->getLabel(), int(i));
		switch(pC->getCAFType())
		{
			case CT_CUT: totals.cut += pC->getVolume(), ++totals.numCut; break;
			case CT_FILL: totals.fill += pC->getVolume(), ++totals.numFill; break;
			default:
				EXPECT_EQ(pC->getVolume(), 0.0);
				++totals.numNull;
		}
		vT.clear();
		pC->getTriangles(vT);
		for(Triangle2* pT : vT)
		{
			const Point2 *a(pT->getCorner(0)), *b(pT->getCorner(1)), *c(pT->getCorner(2));
			totals.area += twiceArea(a->x(), a->y(), b->x(), b->y(), c->x(), c->y()) / 2;
		}
	}
	return totals;
}

void expectExact(const mpq_class& value, const mpq_class& exact)
{
	EXPECT_TRUE(value == exact) << value.get_d() << " instead of " << exact.get_d();
}

void expectRelNear(double value, const mpq_class& exact, double relTol)
{
	double e(exact.get_d());
	EXPECT_NEAR(value, e, relTol * std::max(std::fabs(e), 1e-300)) << "exact " << e;
}

// The structure every result must have: components are maximal connected
// sets of one sign, together exactly the difference zone, every vertex with
// its heights and its difference as height.
void checkStructure(CutAndFill& caf)
{
	Zone2* pDiffZone(nullptr);
	std::map<Point2*, std::pair<double, double>> mHeights;
	ASSERT_TRUE(caf.getDiffZone(pDiffZone, mHeights));
	ASSERT_NE(pDiffZone, nullptr);
	std::vector<Triangle2*> vZoneT, vAllComponentT;
	pDiffZone->getTriangles(vZoneT);
	std::map<Triangle2*, uint64_t> mComponentOf;
	for(uint64_t i = 0; i < caf.getNumberOfComponents(); ++i)
	{
		std::vector<Triangle2*> vT;
		CAF_Component* pC(caf.getComponent(i));
		pC->getTriangles(vT);
		for(Triangle2* pT : vT)
		{
			mComponentOf[pT] = i;
			bool bPos(false), bNeg(false);
			for(int k = 0; k < 3; ++k)
			{
				Point2* pV(pT->getCorner(k));
				auto it(mHeights.find(pV));
				ASSERT_TRUE(it != mHeights.end());
				double diff(it->second.first - it->second.second);
				EXPECT_TRUE(pV->z() == 0.0 || pV->z() == diff) << pV->z() << " vs " << diff;
				bPos = bPos || pV->z() > 0.0;
				bNeg = bNeg || pV->z() < 0.0;
			}
			CAFTYP expected(bPos ? CT_CUT : (bNeg ? CT_FILL : CT_NULL));
			EXPECT_FALSE(bPos && bNeg);
			EXPECT_EQ(pC->getCAFType(), expected);
		}
		vAllComponentT.insert(vAllComponentT.end(), vT.begin(), vT.end());
		std::vector<Segment2> vBorder;
		pC->getBorder(vBorder);
		EXPECT_FALSE(vBorder.empty());
	}
	std::sort(vAllComponentT.begin(), vAllComponentT.end());
	EXPECT_EQ(vAllComponentT, vZoneT);
	// Neighbouring components differ in type, else they would be one.
	for(const auto& entry : mComponentOf)
	{
		for(int k = 0; k < 3; ++k)
		{
			auto it(mComponentOf.find(entry.first->getOppositeTriangle(k)));
			if(it == mComponentOf.end() || it->second == entry.second) continue;
			EXPECT_NE(caf.getComponent(it->second)->getCAFType(), caf.getComponent(entry.second)->getCAFType());
		}
	}
	EXPECT_TRUE(pDiffZone->getDelaunayTriangulation()->checkValidity(false, "combined surface"));
}

// Pairs of terrains over the unit square, each held to the same invariants:
// the structure, the exact common area, the net volume against exact
// integration over each input's own triangles, and where the second surface
// is a plane, cut and fill as the exact positive and negative parts of the
// difference.
TEST(CutAndFill, PairsOfTerrainsMatchExactIntegration)
{
	std::mt19937 rngA(11), rngB(11), rngLow(5), rngHigh(5), rng(3);
	HeightFunc wave([](double x, double y) { return std::sin(7 * x) + y * y; });
	std::uniform_int_distribution<int> grid(0, 2048); // heights on a 1/1024 grid: the raise by 1 is exact
	std::uniform_real_distribution<double> unit(0.0, 1.0), sym(-1.0, 1.0);
	Terrain waveA(rngA, 300, wave), waveB(rngB, 300, wave); // the same points in two triangulations
	Terrain low(rngLow, 400, [&](double, double) { return grid(rngLow) / 1024.0; });
	Terrain high(rngHigh, 400, [&](double, double) { return grid(rngHigh) / 1024.0 + 1.0; });
	Terrain tilted(rng, 500, [](double x, double) { return x; });
	Terrain half(rng, 300, [](double, double) { return 0.5; });
	Terrain rough(rng, 800, [&](double, double) { return unit(rng); });
	Terrain slope(rng, 700, [](double x, double) { return 0.5 * x; });
	Terrain randomA(rng, 1500, [&](double, double) { return sym(rng); });
	Terrain randomB(rng, 1200, [&](double, double) { return sym(rng); });
	const double none(std::nan(""));
	struct Case
	{
		const char* name;
		Zone2 *pBefore, *pAfter;
		int numCut, numFill; // -1: at least one
		double planeA, planeC; // the second surface is z = planeA * x + planeC
	};
	const Case aCases[] = {{"identical", waveA.pZone, waveB.pZone, 0, 0, none, none}, {"same zone", waveA.pZone, waveA.pZone, 0, 0, none, none},
	                       {"raised", low.pZone, high.pZone, 0, 1, none, none}, {"lowered", high.pZone, low.pZone, 1, 0, none, none},
	                       {"crossing planes", tilted.pZone, half.pZone, 1, 1, 0.0, 0.5}, {"random against plane", rough.pZone, slope.pZone, -1, -1, 0.5, 0.0},
	                       {"two random", randomA.pZone, randomB.pZone, -1, -1, none, none}};
	auto expectCount = [](size_t num, int expected) {
		if(expected < 0) EXPECT_GE(num, 1u);
		else EXPECT_EQ(num, size_t(expected));
	};
	for(const Case& c : aCases)
	{
		SCOPED_TRACE(c.name);
		CutAndFill caf(c.pBefore, c.pAfter, 0.0);
		ASSERT_TRUE(caf.go());
		Totals totals(totalsOf(caf));
		checkStructure(caf);
		expectExact(totals.area, 1);
		expectRelNear(totals.cut - totals.fill, integrate(c.pBefore, 0, 0).volume - integrate(c.pAfter, 0, 0).volume, 1e-12);
		expectCount(totals.numCut, c.numCut);
		expectCount(totals.numFill, c.numFill);
		if(c.numCut + c.numFill == 0)
		{
			EXPECT_GT(totals.numNull, 0u);
		}
		if(std::isnan(c.planeA)) continue;
		ExactIntegrals exact(integrate(c.pBefore, c.planeA, c.planeC));
		expectRelNear(totals.cut, exact.positive, 1e-12);
		expectRelNear(totals.fill, exact.negative, 1e-12);
	}
	// Over a shifted square the common area is the overlap, [0.5, 1] x [0.5, 1].
	Terrain shifted(rng, 600, [&](double, double) { return sym(rng); }, 0.5, 1.5);
	CutAndFill overlap(randomA.pZone, shifted.pZone, 0.0);
	ASSERT_TRUE(overlap.go());
	expectExact(totalsOf(overlap).area, mpq_class(1, 4));
	checkStructure(overlap);
}

TEST(CutAndFill, IgnoreThresholdTurnsSmallDifferencesIntoNull)
{
	// Noise within +-0.01 around a flat surface: null with a threshold of
	// 0.01, cut and fill with 0.
	std::mt19937 rng(21);
	std::uniform_real_distribution<double> noise(-0.01, 0.01);
	Terrain flat(rng, 200, [](double, double) { return 2.0; });
	Terrain noisy(rng, 300, [&](double, double) { return 2.0 + noise(rng); });
	CutAndFill ignoring(noisy.pZone, flat.pZone, 0.01);
	ASSERT_TRUE(ignoring.go());
	Totals t1(totalsOf(ignoring));
	EXPECT_EQ(t1.numCut + t1.numFill, 0u);
	EXPECT_EQ(t1.numNull, 1u);
	expectExact(t1.area, 1);

	CutAndFill exact(noisy.pZone, flat.pZone, 0.0);
	ASSERT_TRUE(exact.go());
	Totals t0(totalsOf(exact));
	EXPECT_TRUE(t0.numCut > 0 && t0.numFill > 0);

	// A threshold between: the null band separates cut from fill, volumes
	// stay those of the true surfaces over the cut and fill parts.
	Terrain tilted(rng, 400, [](double x, double) { return x; });
	Terrain half(rng, 300, [](double, double) { return 0.5; });
	CutAndFill banded(tilted.pZone, half.pZone, 0.3);
	ASSERT_TRUE(banded.go());
	Totals tb(totalsOf(banded));
	EXPECT_TRUE(tb.numNull == 1 && tb.numCut == 1 && tb.numFill == 1);
	// The cut part covers x > 0.8 (0.08 of volume there) and, with the
	// triangles across that line, stays within x > 0.5 (0.125).
	EXPECT_GT(tb.cut, 0.08);
	EXPECT_LT(tb.cut, 0.125);
	expectExact(tb.area, 1);
	checkStructure(banded);
}

TEST(CutAndFill, BadInputGetsMessagesAndNoResult)
{
	std::mt19937 rng(4);
	Terrain a(rng, 50, [](double x, double) { return x; });
	Terrain far(rng, 50, [](double, double y) { return y; }, 2.0, 3.0);
	Zone2* pEmpty(zoneDifference(a.pZone, a.pZone));
	ASSERT_NE(pEmpty, nullptr);
	std::string out(captureStdout([&]() {
		CutAndFill noBefore(nullptr, a.pZone, 0.0);
		EXPECT_FALSE(noBefore.go());
		EXPECT_EQ(noBefore.getNumberOfComponents(), 0u);
		CutAndFill noAfter(a.pZone, nullptr, 0.0);
		EXPECT_FALSE(noAfter.go());
		CutAndFill empty(a.pZone, pEmpty, 0.0);
		EXPECT_FALSE(empty.go());
		CutAndFill disjoint(a.pZone, far.pZone, 0.0);
		EXPECT_FALSE(disjoint.go());
		EXPECT_EQ(disjoint.getNumberOfComponents(), 0u);
		Zone2* pDiff(a.pZone);
		std::map<Point2*, std::pair<double, double>> mHeights;
		EXPECT_FALSE(disjoint.getDiffZone(pDiff, mHeights));
		EXPECT_EQ(pDiff, nullptr);
		std::vector<Point2*> vVtx;
		far.dt.getVertexPointers(vVtx);
		double z(vVtx[7]->z());
		vVtx[7]->setZ(std::nan(""));
		CutAndFill nanHeight(a.pZone, far.pZone, 0.0);
		EXPECT_FALSE(nanHeight.go());
		vVtx[7]->setZ(z);
		CutAndFill nanThreshold(a.pZone, a.pZone, std::nan(""));
		EXPECT_FALSE(nanThreshold.go());
		CutAndFill negative(a.pZone, a.pZone, -1.0);
		EXPECT_FALSE(negative.go());
		std::unique_ptr<Visualizer2> pNoVis;
		negative.show(pNoVis.get());
	}));
	expectGolden("cut_and_fill_bad_input.txt", out);

	// A failed run leaves the object usable: the next one with good input works.
	CutAndFill again(a.pZone, far.pZone, 0.0);
	EXPECT_FALSE(captureStdout([&]() { EXPECT_FALSE(again.go()); }).empty());
	CutAndFill good(a.pZone, a.pZone, 0.0);
	ProgressLog log;
	good.subscribe(MSG_PROGRESS, &log);
	good.subscribe(MSG_PROGRESS, &log);
	ASSERT_TRUE(good.go());
	EXPECT_TRUE(log.complete());
	size_t numHeard(log.vValues.size());
	good.unsubscribe(MSG_PROGRESS, &log);
	ASSERT_TRUE(good.go());
	EXPECT_EQ(log.vValues.size(), numHeard);
}

// The drawing shows cut green and fill blue; every component written as a
// Geomview file and read back has the suffix and colour of its type, one face
// per triangle in its order, and the corners' coordinates.
TEST(CutAndFill, DrawingAndGeomviewFilesShowEachType)
{
	std::mt19937 rng(9);
	Terrain wave(rng, 600, [](double x, double y) { return std::sin(6 * x) * std::cos(5 * y); });
	Terrain flat(rng, 100, [](double, double) { return 0.0; });
	CutAndFill caf(wave.pZone, flat.pZone, 0.05);
	ASSERT_TRUE(caf.go());
	Totals totals(totalsOf(caf));
	EXPECT_TRUE(totals.numCut > 1 && totals.numFill > 1 && totals.numNull > 0);
	const char* aSuffix[3] = {"_null.list", "_cut.list", "_fill.list"};
	const char* aColor[3] = {" 1 0 0 0.5", " 0 1 0 0.5", " 0 0 1 0.5"};
	for(uint64_t i = 0; i < caf.getNumberOfComponents(); ++i)
	{
		CAF_Component* pC(caf.getComponent(i));
		std::string base("caf_component_" + std::to_string(i));
		int type(pC->getCAFType());
		ASSERT_TRUE(type >= 0 && type < 3);
		captureStdout([&]() { EXPECT_TRUE(pC->showGeomview(base)); });
		std::vector<Triangle2*> vT;
		pC->getTriangles(vT);
		std::string text(readFile(base + aSuffix[type]));
		ASSERT_EQ(countOf(text, "\nOFF\n"), 1u) << base;
		std::istringstream in(text.substr(text.find("\nOFF\n") + 5));
		size_t numVertices(0), numFaces(0), zero(1);
		in >> numVertices >> numFaces >> zero;
		ASSERT_TRUE(numFaces == vT.size() && zero == 0u);
		std::vector<std::array<double, 3>> vVertices(numVertices);
		for(std::array<double, 3>& p : vVertices) in >> p[0] >> p[1] >> p[2];
		for(Triangle2* pT : vT)
		{
			size_t numCorners(0), aIdx[3];
			std::string color;
			in >> numCorners >> aIdx[0] >> aIdx[1] >> aIdx[2];
			std::getline(in, color);
			ASSERT_TRUE(in && numCorners == 3);
			EXPECT_EQ(color, aColor[type]);
			for(int k = 0; k < 3; ++k)
				for(int d = 0; d < 3; ++d) EXPECT_NEAR(vVertices.at(aIdx[k])[d], (d == 0 ? pT->getCorner(k)->x() : (d == 1 ? pT->getCorner(k)->y() : pT->getCorner(k)->z())), 1e-14);
		}
	}
	// An empty name and a missing directory are refused with a message.
	std::string out(captureStdout([&]() {
		EXPECT_FALSE(caf.getComponent(0)->showGeomview(""));
		EXPECT_FALSE(caf.getComponent(0)->showGeomview("no_such_directory/caf"));
	}));
	expectGolden("cut_and_fill_geomview_bad_input.txt", out);
	{
		Visualizer2 vis("cut_and_fill.ps");
		caf.show(&vis);
		vis.writeFile();
	}
	if(!ghostscriptAvailable()) GTEST_SKIP() << "Ghostscript missing";
	Image image;
	std::string log;
	ASSERT_TRUE(render("cut_and_fill.ps", "cut_and_fill.png", 40, image, log)) << log;
	EXPECT_TRUE(countPrimary(image, 0) > 0 && countPrimary(image, 1) > 1000 && countPrimary(image, 2) > 1000);
}

// Zero lines that pass within a few units in the last place of a corner, at
// survey coordinates where the x and y units differ sixteenfold: the split
// needs a place strictly inside the narrow wedge, found by moving toward the
// edge's middle; the mesh stays valid.
TEST(CutAndFill, EdgeSplitsNearNarrowCornersAtSurveyCoordinates)
{
	std::mt19937 rng(5);
	std::uniform_real_distribution<double> unit(0.0, 1.0);
	for(int k = 0; k < 200; ++k)
	{
		double ox(5e5 + 1000 * unit(rng)), oy(5e6 + 1000 * unit(rng)), angle(6.283 * unit(rng)), len(1 + 4 * unit(rng)), wedge(0.02 + 0.5 * unit(rng));
		Dt2 dt(4);
		dt.insertVector({Point2(ox, oy, 0), Point2(ox + len * std::cos(angle), oy + len * std::sin(angle), 0),
			Point2(ox + len * std::cos(angle + wedge), oy + len * std::sin(angle + wedge), 0),
			Point2(ox + len * std::cos(angle - wedge), oy + len * std::sin(angle - wedge), 0)});
		std::vector<Triangle2*> vT;
		dt.getTrianglePointers(vT);
		int numSplits(0);
		for(Triangle2* pT : vT)
		{
			for(int i = 0; i < 3 && numSplits == 0; ++i)
			{
				const Point2 *b(pT->getCorner(nextIndex(i))), *c(pT->getCorner(prevIndex(i)));
				if(b->x() != ox || b->y() != oy) continue;
				double t(std::pow(10.0, -8.0 - 8.0 * unit(rng)));
				ASSERT_NE(dt.splitEdgeAt(pT, i, Point2(b->x() + t * (c->x() - b->x()), b->y() + t * (c->y() - b->y()), 0)), nullptr) << k;
				++numSplits;
			}
			if(numSplits != 0) break;
		}
		ASSERT_EQ(numSplits, 1);
		validateMesh(dt, EmptyCircles::ignored);
	}
}

} // namespace
