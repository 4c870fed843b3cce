// Quality mesh generation: property checks over random polygons with holes, small
// input angles and large offsets, grid pre-meshing, the record and refusals.
#include "InnerVtxMgr.h"
#include "MeshGenParams.h"
#include "Mirel25D.h"
#include "test_support.h"
#include <functional>
#include <limits>

namespace mtest {
namespace {

const double PI(3.14159265358979323846);

// A polygon with holes (outer ring counterclockwise, holes clockwise), one oriented graph.
struct MeshScene
{
	std::vector<std::vector<Point2>> vRings;
	double planeA = 0.0, planeB = 0.0, planeC = 0.0; // z = a x + b y + c
	double offset = 0.0;
	double planeZ(double x, double y) const { return planeA * (x - offset) + planeB * (y - offset) + planeC; }
};

// A star-shaped (so simple) ring around (cx, cy), radii in [rMin, rMax]; with
// spikeDeg > 0 one vertex is a spike whose tip angle is about spikeDeg degrees.
std::vector<Point2> starRing(std::mt19937& rng, double cx, double cy, double rMin, double rMax, int n, double spikeDeg)
{
	std::uniform_real_distribution<double> uni(0.0, 1.0);
	std::vector<double> vAngles;
	for(int i = 0; i < n; ++i) vAngles.push_back(2.0 * PI * (i + 0.2 + 0.6 * uni(rng)) / n);
	std::vector<Point2> vRing;
	for(size_t i = 0; i < vAngles.size(); ++i)
	{
		double r(rMin + (rMax - rMin) * uni(rng));
		if(spikeDeg > 0.0 && i == 0)
		{
			// Tip at rMax*1.6, flanks at rMin close by in angle.
			double tipR(rMax * 1.6), flankR(rMin * 0.8);
			double halfTip(0.5 * spikeDeg * PI / 180.0);
			double delta(std::atan2((tipR - flankR) * std::tan(halfTip), flankR));
			double a(vAngles[0]);
			vRing.push_back(Point2(cx + flankR * std::cos(a - delta), cy + flankR * std::sin(a - delta), 0));
			vRing.push_back(Point2(cx + tipR * std::cos(a), cy + tipR * std::sin(a), 0));
			vRing.push_back(Point2(cx + flankR * std::cos(a + delta), cy + flankR * std::sin(a + delta), 0));
			continue;
		}
		vRing.push_back(Point2(cx + r * std::cos(vAngles[i]), cy + r * std::sin(vAngles[i]), 0));
	}
	return vRing;
}

MeshScene randomScene(unsigned seed, int numHoles, double spikeDeg, double offset, bool bGrid)
{
	std::mt19937 rng(seed);
	MeshScene scene;
	scene.offset = offset;
	scene.vRings.push_back(starRing(rng, 0, 0, 7.0, 10.0, 24, spikeDeg));
	// Holes in separate cells of a grid inside the inner disk.
	std::vector<std::pair<double, double>> vCells;
	for(double x = -3.0; x <= 3.0; x += 2.0)
		for(double y = -3.0; y <= 3.0; y += 2.0) vCells.push_back(std::make_pair(x, y));
	std::shuffle(vCells.begin(), vCells.end(), rng);
	for(int h = 0; h < numHoles && h < int(vCells.size()); ++h)
	{
		std::vector<Point2> vHole(starRing(rng, vCells[h].first, vCells[h].second, 0.3, 0.8, 7, h == 0 ? spikeDeg : 0.0));
		std::reverse(vHole.begin(), vHole.end());
		scene.vRings.push_back(vHole);
	}
	std::uniform_real_distribution<double> slope(-0.5, 0.5);
	scene.planeA = slope(rng);
	scene.planeB = slope(rng);
	scene.planeC = 3.0;
	for(std::vector<Point2>& vRing : scene.vRings)
	{
		for(Point2& p : vRing)
		{
			// Grid coordinates: every segment holds doubles, so splits stay exactly on it.
			double x(bGrid ? std::ldexp(std::round(std::ldexp(p.x(), 12)), -12) : p.x());
			double y(bGrid ? std::ldexp(std::round(std::ldexp(p.y(), 12)), -12) : p.y());
			x += offset;
			y += offset;
			p = Point2(x, y, scene.planeZ(x, y));
		}
	}
	return scene;
}

// The scene in a triangulation: a frame on the plane around it, the rings' graph, its zone.
struct MeshSetup
{
	// Without the frame the outer ring's edges are hull edges.
	explicit MeshSetup(const MeshScene& scene_, ConstraintInsertionStrategy cis = CIS_CONSTRAINED_DELAUNAY, bool bFrame = true) : scene(scene_), dt(1000)
	{
		double o(scene.offset);
		std::vector<Point2> vFrame{Point2(o - 15, o - 15, 0), Point2(o + 15, o - 15, 0), Point2(o + 15, o + 15, 0), Point2(o - 15, o + 15, 0)};
		for(Point2& p : vFrame) p = Point2(p.x(), p.y(), scene.planeZ(p.x(), p.y()));
		if(bFrame) dt.insert(vFrame);
		std::vector<Segment2> vSegments;
		for(const std::vector<Point2>& vRing : scene.vRings)
			for(size_t i = 0; i < vRing.size(); ++i) vSegments.push_back(Segment2(vRing[i], vRing[(i + 1) % vRing.size()]));
		pGraph = dt.createConstraint(vSegments, cis, true);
		pZone = (pGraph == nullptr) ? nullptr : dt.createZone(pGraph, ZL_INSIDE, false);
	}
	MeshScene scene;
	Mirel_2D dt;
	ConstraintGraph2* pGraph = nullptr;
	Zone2* pZone = nullptr;
};

std::vector<Triangle2*> zoneTriangles(Zone2* pZone)
{
	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	return vT;
}

mpq_class exactZoneArea(Zone2* pZone)
{
	mpq_class sum(0);
	for(Triangle2* pT : zoneTriangles(pZone))
	{
		const Point2 &a(*pT->getCorner(0)), &b(*pT->getCorner(1)), &c(*pT->getCorner(2));
		sum += (mpq_class(b.x()) - a.x()) * (mpq_class(c.y()) - a.y()) - (mpq_class(b.y()) - a.y()) * (mpq_class(c.x()) - a.x());
	}
	return sum;
}

mpq_class exactRingsArea(const MeshScene& scene)
{
	mpq_class sum(0);
	for(const std::vector<Point2>& vRing : scene.vRings) sum += meshcheck::ringArea2(vRing);
	return sum;
}

double minAngle25D(const Triangle2* pT)
{
	double m(180.0);
	for(int i = 0; i < 3; ++i) m = std::min(m, pT->getInteriorAngle25D(i));
	return m;
}

double maxEdge25D(const Triangle2* pT)
{
	double m(0.0);
	for(int i = 0; i < 3; ++i) m = std::max(m, std::sqrt(pT->getSquaredEdgeLength25D(i)));
	return m;
}

double spacingNear(const Point2& a, const Point2& b)
{
	double m(std::max(std::max(std::fabs(a.x()), std::fabs(a.y())), std::max(std::fabs(b.x()), std::fabs(b.y()))));
	return std::nextafter(m, HUGE_VAL) - m;
}

// Why a bad zone triangle may stay bad: an input angle between two constraint edges
// narrower than the bound, or a piece too short to split within its circumcircle.
struct ExemptionCheck
{
	ExemptionCheck(Mirel_2D& dt_, double minAngle_, double minEdgeLength) : dt(dt_), minAngle(minAngle_)
	{
		std::vector<ConstraintSegment2*> vAlive;
		dt.getAliveConstraintSegments(vAlive);
		for(ConstraintSegment2* pCSeg : vAlive)
			if(std::sqrt(sqDistance2D(*pCSeg->getSrc(), *pCSeg->getTrg())) < 2.0 * minEdgeLength) vShortPieces.push_back(pCSeg);
	}
	bool isExempt(Triangle2* pT) const
	{
		// The fixed cut-off: a triangle this well shaped in the plane stays.
		if(std::min(pT->getInteriorAngle2D(0), std::min(pT->getInteriorAngle2D(1), pT->getInteriorAngle2D(2))) > 29.5) return true;
		for(int i = 0; i < 3; ++i)
		{
			Point2* pC(pT->getCorner(i));
			if(dt.isConstraint(pC, pT->getCorner((i + 1) % 3)) && dt.isConstraint(pC, pT->getCorner((i + 2) % 3)) &&
			   pT->getInteriorAngle25D(i) < minAngle + 1e-9)
				return true;
		}
		std::pair<Point2, bool> dual(pT->getDual());
		double sqR(sqDistance2D(dual.first, *pT->getCorner(0)) * (1.0 + 1e-9));
		for(ConstraintSegment2* pCSeg : vShortPieces)
			if(sqDistanceToSegment2D(dual.first, *pCSeg->getSrc(), *pCSeg->getTrg()) <= sqR) return true;
		return false;
	}
	Mirel_2D& dt;
	double minAngle;
	std::vector<ConstraintSegment2*> vShortPieces;
};

// A constrained Delaunay triangulation, checked by the shared exact validator.
void expectConstrainedDelaunay(Mirel_2D& dt)
{
	validateMesh(*dt.getImpl(), EmptyCircles::exceptConstraints);
}

// The alive pieces of each parent chain from its source to its target along the parent,
// every split vertex exactly on it (bExact false: a few units in the last place off).
void expectPiecesCoverParents(ConstraintGraph2* pGraph, bool bExact)
{
	std::vector<ConstraintSegment2*> vParents;
	pGraph->getOriginalConstraintSegments(vParents);
	for(ConstraintSegment2* pParent : vParents)
	{
		std::vector<ConstraintSegment2*> vPieces;
		if(pParent->isAlive()) vPieces.push_back(pParent);
		else pParent->getChildrenRec(vPieces);
		const Point2& a(*pParent->getSrc());
		const Point2& b(*pParent->getTrg());
		std::map<Point2*, int> mDegree;
		for(ConstraintSegment2* pPiece : vPieces)
		{
			++mDegree[pPiece->getSrc()];
			++mDegree[pPiece->getTrg()];
			for(const Point2* p : {pPiece->getSrc(), pPiece->getTrg()})
			{
				if(bExact) ASSERT_EQ(exactOrientation(a, b, *p), 0);
				else ASSERT_LE(std::sqrt(sqDistanceToSegment2D(*p, a, b)), 8.0 * spacingNear(a, b));
			}
		}
		// A chain: both ends once, every split vertex twice.
		for(const std::pair<Point2* const, int>& entry : mDegree)
		{
			bool bEnd(entry.first == pParent->getSrc() || entry.first == pParent->getTrg());
			ASSERT_EQ(entry.second, bEnd ? 1 : 2);
		}
		ASSERT_EQ(mDegree.size(), vPieces.size() + 1);
		// The pieces' total length is the parent's (they do not overlap).
		double sum(0.0);
		for(ConstraintSegment2* pPiece : vPieces) sum += std::sqrt(sqDistance2D(*pPiece->getSrc(), *pPiece->getTrg()));
		ASSERT_NEAR(sum, std::sqrt(sqDistance2D(a, b)), 1e-9 * (1.0 + sum));
	}
}

void expectAreaKept(Zone2* pZone, const mpq_class& areaBefore, bool bExact, double offset)
{
	if(bExact) EXPECT_TRUE(exactZoneArea(pZone) == areaBefore);
	// Bent pieces move the border by less than an ulp of the coordinates.
	else EXPECT_NEAR(mpq_class(exactZoneArea(pZone) / areaBefore).get_d(), 1.0, offset != 0.0 ? 1e-9 : 1e-12);
}

std::set<Point2*> vertexSet(Mirel_2D& dt)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	return std::set<Point2*>(vVtx.begin(), vVtx.end());
}

// A valid constrained Delaunay mesh whose pieces cover their parents and whose zone kept its area.
void expectValidZoneMesh(MeshSetup& s, const mpq_class& areaBefore, bool bExact)
{
	expectConstrainedDelaunay(s.dt);
	expectAreaKept(s.pZone, areaBefore, bExact, s.scene.offset);
	expectPiecesCoverParents(s.pGraph, bExact);
}

struct MeshQuality
{
	double minAngleNonExempt = 180.0;
	size_t numExempt = 0, numTriangles = 0, numOverSize = 0;
};

MeshQuality measure(MeshSetup& s, double minAngle, double minEdgeLength, double maxEdgeLength)
{
	MeshQuality q;
	ExemptionCheck exemption(s.dt, minAngle, minEdgeLength);
	for(Triangle2* pT : zoneTriangles(s.pZone))
	{
		++q.numTriangles;
		bool bBad(minAngle25D(pT) < minAngle - 1e-9 || maxEdge25D(pT) > maxEdgeLength);
		bool bExempt(bBad && exemption.isExempt(pT));
		q.numExempt += bExempt ? 1 : 0;
		if(bExempt) continue;
		q.minAngleNonExempt = std::min(q.minAngleNonExempt, minAngle25D(pT));
		q.numOverSize += maxEdge25D(pT) > maxEdgeLength ? 1 : 0;
	}
	return q;
}

// Random polygons with holes, small input angles, offsets: the run ends with a valid mesh,
// and the bounds hold except where exempt; every new point lies on the planar surface.
TEST(Mesh, RandomPolygonsWithHolesMeetBounds)
{
	struct Case
	{
		unsigned seed;
		int numHoles;
		double spikeDeg, offset, minAngle, maxEdge;
		bool bGrid;
		ConstraintInsertionStrategy cis = CIS_CONSTRAINED_DELAUNAY;
		bool bFrame = true;
	};
	const Case aCases[] = {{1, 0, 0.0, 0.0, 20.0, 1e300, false}, {2, 3, 5.0, 0.0, 25.0, 2.0, true}, {3, 6, 1.0, 0.0, 20.7, 1.0, false},
		{4, 10, 2.5, 1e6, 28.0, 1e300, true}, {5, 16, 3.0, 1e6, 20.0, 0.7, false}, {6, 4, 1.5, -1e6, 30.0, 1.5, true},
		{7, 12, 4.0, 1e6, 25.0, 0.5, true}, {8, 8, 1.0, 0.0, 20.0, 1e300, false}, {9, 6, 3.0, 0.0, 25.0, 1.0, false, CIS_CONFORMING_SURFACE_HEIGHT},
		{10, 5, 2.0, 1e6, 22.0, 0.8, false, CIS_CONSTRAINED_DELAUNAY, false}, {11, 7, 4.0, 0.0, 28.0, 1.2, true, CIS_CONSTRAINED_DELAUNAY, false}};
	for(const Case& c : aCases)
	{
		SCOPED_TRACE("seed " + std::to_string(c.seed));
		MeshSetup s(randomScene(c.seed, c.numHoles, c.spikeDeg, c.offset, c.bGrid), c.cis, c.bFrame);
		ASSERT_NE(s.pZone, nullptr);
		mpq_class areaBefore(exactZoneArea(s.pZone));
		// Conforming insertion has split the rings already, at rounded points.
		ASSERT_TRUE(c.cis != CIS_CONSTRAINED_DELAUNAY || areaBefore == exactRingsArea(s.scene));
		size_t numBefore(s.dt.numberOfPoints());
		std::string out(captureStdout([&]() { s.dt.refine(s.pZone, c.minAngle, 0.001, c.maxEdge, true); }));
		EXPECT_EQ(out.find("limit"), std::string::npos) << out;
		EXPECT_GT(s.dt.numberOfPoints(), numBefore);
		expectValidZoneMesh(s, areaBefore, c.bGrid);
		for(Point2* p : vertexSet(s.dt))
		{
			double expected(s.scene.planeZ(p->x(), p->y()));
			EXPECT_NEAR(p->z(), expected, 64.0 * std::numeric_limits<double>::epsilon() * (std::fabs(expected) + std::fabs(s.scene.offset) + 10.0));
		}
		MeshQuality q(measure(s, c.minAngle, 0.001, c.maxEdge));
		EXPECT_GE(q.minAngleNonExempt, c.minAngle - 1e-9);
		EXPECT_EQ(q.numOverSize, 0u);
		EXPECT_LT(q.numExempt * 20, q.numTriangles);
	}
}

// Grid pre-meshing alone (no bound asks for more): chopped pieces keep 0.7 grid lengths
// (2.5D), grid points 0.4 grid lengths from every constraint; then the bounds are met.
TEST(Mesh, GridPreMeshingChopsAndPlacesPointsWithRoom)
{
	const Vector2 aDirections[] = {Vector2(1, 0, 0), Vector2(1, 1, 0), Vector2(0.3, -1, 0), Vector2(-2e-200, 7e-201, 0)};
	for(unsigned seed = 61; seed < 69; ++seed)
	{
		SCOPED_TRACE("seed " + std::to_string(seed));
		const double gridLength(0.4 + 0.3 * (seed % 4));
		MeshSetup s(randomScene(seed, 2 + int(seed % 6), 4.0, seed % 3 == 0 ? 1e6 : 0.0, seed % 2 == 0), CIS_CONSTRAINED_DELAUNAY, seed % 4 > 1);
		mpq_class areaBefore(exactZoneArea(s.pZone));
		std::set<Point2*> sBefore(vertexSet(s.dt));
		MeshGenParams params(s.pZone);
		params.gridVector = aDirections[seed % 4];
		params.gridLength = gridLength;
		params.minAngleDegree = 0.0;
		EXPECT_EQ(captureStdout([&]() { s.dt.refineAdvanced(&params); }), "");
		expectValidZoneMesh(s, areaBefore, seed % 2 == 0);
		std::vector<ConstraintSegment2*> vParents, vAlive, vPieces;
		s.pGraph->getOriginalConstraintSegments(vParents);
		size_t numChopped(0), numGridPoints(0);
		for(ConstraintSegment2* pParent : vParents)
		{
			if(pParent->isAlive()) continue;
			++numChopped;
			vPieces.clear();
			pParent->getChildrenRec(vPieces);
			for(ConstraintSegment2* pPiece : vPieces) EXPECT_GE(sqDistance25D(*pPiece->getSrc(), *pPiece->getTrg()), 0.49 * gridLength * gridLength);
		}
		s.dt.getAliveConstraintSegments(vAlive);
		for(Point2* p : vertexSet(s.dt))
		{
			if(sBefore.count(p) != 0 || s.dt.isConstraint(p)) continue;
			++numGridPoints;
			for(ConstraintSegment2* pPiece : vAlive) ASSERT_GE(sqDistanceToSegment2D(*p, *pPiece->getSrc(), *pPiece->getTrg()), 0.1599 * gridLength * gridLength);
		}
		EXPECT_GT(numChopped, 5u);
		EXPECT_GT(numGridPoints * gridLength * gridLength, 0.2 * mpq_class(areaBefore / 2).get_d());
		MeshGenParams bounds(s.pZone);
		bounds.minAngleDegree = 25.0;
		bounds.maxEdgeLength = gridLength;
		EXPECT_EQ(captureStdout([&]() { s.dt.refineAdvanced(&bounds); }), "");
		expectConstrainedDelaunay(s.dt);
		MeshQuality q(measure(s, 25.0, 0.001, gridLength));
		EXPECT_GE(q.minAngleNonExempt, 25.0 - 1e-9);
		EXPECT_EQ(q.numOverSize, 0u);
	}
}

// splitAndRemovePrev: the free vertices that refinement inserted strictly within the new
// vertex's distance to the piece's first end are gone, all others stay, the mesh is valid.
TEST(Mesh, SplitAndRemovePrevClearsTheRoomOfTheSplit)
{
	for(unsigned seed = 71; seed < 75; ++seed)
	{
		SCOPED_TRACE("seed " + std::to_string(seed));
		MeshSetup s(randomScene(seed, 3, 0.0, 0.0, true));
		mpq_class areaBefore(exactZoneArea(s.pZone));
		std::set<Point2*> sInput(vertexSet(s.dt));
		captureStdout([&]() { s.dt.refine(s.pZone, 25.0, 0.001, 0.3 + 0.2 * (seed % 3), true); });
		std::vector<ConstraintSegment2*> vAlive;
		s.dt.getAliveConstraintSegments(vAlive);
		ConstraintSegment2* pPiece(*std::max_element(vAlive.begin(), vAlive.end(), [](ConstraintSegment2* a, ConstraintSegment2* b) {
			return sqDistance2D(*a->getSrc(), *a->getTrg()) < sqDistance2D(*b->getSrc(), *b->getTrg());
		}));
		Point2* p0(pPiece->getSrc());
		EXPECT_FALSE(pPiece->splitAndRemovePrev(*p0));
		std::set<Point2*> sBefore(vertexSet(s.dt));
		// Three quarters towards the target: the room reaches beyond the piece's diametral circle.
		Point2 mid(0.25 * p0->x() + 0.75 * pPiece->getTrg()->x(), 0.25 * p0->y() + 0.75 * pPiece->getTrg()->y(), p0->z());
		ASSERT_TRUE(pPiece->splitAndRemovePrev(mid));
		std::set<Point2*> sAfter(vertexSet(s.dt));
		size_t numRemoved(0);
		for(Point2* p : sBefore)
		{
			bool bRemovable(sInput.count(p) == 0 && !s.dt.isConstraint(p) && sqDistance2D(*p, mid) < sqDistance2D(*p0, mid));
			EXPECT_EQ(sAfter.count(p), bRemovable ? 0u : 1u);
			numRemoved += bRemovable ? 1 : 0;
		}
		EXPECT_GT(numRemoved, 0u);
		EXPECT_EQ(sAfter.size(), sBefore.size() + 1 - numRemoved);
		expectValidZoneMesh(s, areaBefore, false);
	}
}

// Without splitting no constraint piece changes; locked segments stay whole beside split ones.
TEST(Mesh, NoSplitWhenDisallowedAndLockedSegmentsStayWhole)
{
	for(unsigned seed = 11; seed < 14; ++seed)
	{
		SCOPED_TRACE("seed " + std::to_string(seed));
		{
			MeshSetup s(randomScene(seed, 5, 3.0, seed == 12 ? 1e6 : 0.0, false));
			std::vector<ConstraintSegment2*> vBefore, vAfter;
			s.dt.getAliveConstraintSegments(vBefore);
			captureStdout([&]() { s.dt.refine(s.pZone, 25.0, 0.001, 1.0, false); });
			s.dt.getAliveConstraintSegments(vAfter);
			std::sort(vBefore.begin(), vBefore.end());
			std::sort(vAfter.begin(), vAfter.end());
			EXPECT_TRUE(vBefore == vAfter);
			expectConstrainedDelaunay(s.dt);
		}
		{
			MeshSetup s(randomScene(seed, 5, 3.0, 0.0, seed == 13));
			std::vector<ConstraintSegment2*> vParents;
			s.pGraph->getOriginalConstraintSegments(vParents);
			MeshGenParams params(s.pZone);
			params.minAngleDegree = 28.0;
			params.maxEdgeLength = 0.8;
			std::vector<ConstraintSegment2*> vLocked;
			for(size_t i = 0; i < vParents.size(); i += 2)
			{
				params.addLockedConstraint(vParents[i]);
				params.addLockedConstraint(vParents[i]); // twice changes nothing
				vLocked.push_back(vParents[i]);
			}
			EXPECT_EQ(params.pLockedConstraints->size(), vLocked.size());
			captureStdout([&]() { s.dt.refineAdvanced(&params); });
			for(ConstraintSegment2* pCSeg : vLocked) EXPECT_TRUE(pCSeg->isAlive());
			size_t numSplit(0);
			for(size_t i = 1; i < vParents.size(); i += 2) numSplit += vParents[i]->isAlive() ? 0 : 1;
			EXPECT_GT(numSplit, 0u);
			expectConstrainedDelaunay(s.dt);
			expectPiecesCoverParents(s.pGraph, seed == 13);
		}
	}
}

std::string goldenText(const std::string& name)
{
	std::string path(__FILE__);
	path = path.substr(0, path.find_last_of('/')) + "/data/" + name;
	return readFile(path);
}

// Every refusal: the message, and the triangulation exactly as before.
TEST(Mesh, BadInputIsRefusedWithAMessageAndChangesNothing)
{
	MeshSetup s(randomScene(21, 3, 0.0, 0.0, true));
	auto snapshot = [&]() { return triangleKeys(s.dt); };
	const auto sBefore(snapshot());
	const double NaN(std::numeric_limits<double>::quiet_NaN());
	std::string text;
	auto attempt = [&](const std::string& what, std::function<void(MeshGenParams&)> setBad) {
		MeshGenParams params(s.pZone);
		setBad(params);
		std::string out(captureStdout([&]() { s.dt.refineAdvanced(&params); }));
		text += "== " + what + "\n" + out;
		EXPECT_TRUE(snapshot() == sBefore) << what;
	};
	attempt("minEdgeLength NaN", [&](MeshGenParams& p) { p.minEdgeLength = NaN; });
	attempt("minEdgeLength -1", [&](MeshGenParams& p) { p.minEdgeLength = -1; });
	attempt("maxEdgeLength NaN", [&](MeshGenParams& p) { p.maxEdgeLength = NaN; });
	attempt("maxEdgeLength 0", [&](MeshGenParams& p) { p.maxEdgeLength = 0; });
	attempt("maxTriangleArea -1", [&](MeshGenParams& p) { p.maxTriangleArea = -1; });
	attempt("growFactor NaN", [&](MeshGenParams& p) { p.growFactor = NaN; });
	attempt("growFactorMinArea -1", [&](MeshGenParams& p) { p.growFactorMinArea = -1; });
	attempt("gridLength -1", [&](MeshGenParams& p) { p.gridLength = -1; });
	// A grid that cannot be laid is skipped with a message; refinement goes on (here with nothing to do).
	attempt("gridVector NaN", [&](MeshGenParams& p) { p.gridVector = Vector2(NaN, 0, 0), p.gridLength = 1, p.minAngleDegree = 0; });
	attempt("gridLength 1e-9", [&](MeshGenParams& p) { p.gridLength = 1e-9, p.minAngleDegree = 0; });
	attempt("minAngleDegree NaN", [&](MeshGenParams& p) { p.minAngleDegree = NaN; });
	attempt("minAngleDegree 30.000001", [&](MeshGenParams& p) { p.minAngleDegree = 30.000001; });
	attempt("no zone", [&](MeshGenParams& p) { p.pZone = nullptr; });
	Zone2* pOutside(s.dt.createZone(s.pGraph, ZL_OUTSIDE, false));
	attempt("outside zone", [&](MeshGenParams& p) { p.pZone = pOutside; });
	std::vector<Segment2> vOther{Segment2(Point2(20, 20, 0), Point2(21, 20, 0)), Segment2(Point2(21, 20, 0), Point2(21, 21, 0)),
		Segment2(Point2(21, 21, 0), Point2(20, 20, 0))};
	Zone2* pTwoGraphs(s.dt.createZone(std::vector<ConstraintGraph2*>{s.pGraph, s.dt.createConstraint(vOther, CIS_CONSTRAINED_DELAUNAY, true)}, ZL_INSIDE, false));
	const auto sWithOther(snapshot());
	MeshGenParams twoGraphs(pTwoGraphs);
	text += "== two graphs\n" + captureStdout([&]() { s.dt.refineAdvanced(&twoGraphs); });
	EXPECT_TRUE(snapshot() == sWithOther);
	// The facade's own refusals go to standard error.
	testing::internal::CaptureStderr();
	s.dt.refine(nullptr, 20, 0.001, 1, true);
	s.dt.refine(s.pZone, 30.000001, 0.001, 1, true);
	MeshGenParams growRecord(s.dt.createZone(s.pGraph, ZL_GROW, Point2(0, 0, 0), false));
	text += "== standard error\n" + testing::internal::GetCapturedStderr();
	EXPECT_TRUE(snapshot() == sWithOther);
	EXPECT_EQ(growRecord.gridVector.x(), 0.0);
	EXPECT_EQ(text, goldenText("mesh_refusals.txt"));
	if(text != goldenText("mesh_refusals.txt")) std::ofstream("mesh_refusals.actual.txt") << text;

	// 30 degrees exactly is accepted.
	std::string out(captureStdout([&]() { s.dt.refine(s.pZone, 30.0, 0.001, 1e300, true); }));
	EXPECT_EQ(out.find("minAngleDegree"), std::string::npos);
	EXPECT_TRUE(snapshot() != sWithOther);
}

// A derived record: its bounds are asked for every triangle; fine left of splitX.
class LeftHalfFine : public MeshGenParams
{
public:
	LeftHalfFine(Zone2* pZone_, double splitX_, double fine_) : MeshGenParams(pZone_), splitX(splitX_), fine(fine_) {}
	double getMaxEdgeLength(Triangle2* pT) override { return ++numCalls, pT->getBarycenter().x() < splitX ? fine : std::numeric_limits<double>::max(); }
	double splitX, fine;
	size_t numCalls = 0;
};

TEST(Mesh, RecordDefaultsCopiesAndPerTriangleBounds)
{
	MeshSetup s(randomScene(31, 4, 0.0, 0.0, true));
	MeshGenParams params(s.pZone);
	const double LARGEST(std::numeric_limits<double>::max());
	EXPECT_TRUE(params.minAngleDegree == 20.0 && params.minEdgeLength == 0.001 && params.maxEdgeLength == LARGEST && params.maxTriangleArea == LARGEST);
	EXPECT_TRUE(params.growFactor == LARGEST && params.gridLength == 0.0 && params.gridVector.x() == 1.0 && params.gridVector.y() == 0.0);
	EXPECT_TRUE(params.bAllowConstraintSplitting && params.bResetSplitRecord && params.verbosity == 0 && params.pHeightGuide == nullptr);

	// Copies share one locked set; each may go first.
	std::vector<ConstraintSegment2*> vParents;
	s.pGraph->getOriginalConstraintSegments(vParents);
	{
		MeshGenParams early(params); // copied before the set existed: its own set later
		params.addLockedConstraint(vParents[0]);
		MeshGenParams* pCopy(new MeshGenParams(params));
		MeshGenParams assigned(nullptr);
		assigned = params;
		pCopy->addLockedConstraint(vParents[1]);
		EXPECT_EQ(pCopy->pLockedConstraints, params.pLockedConstraints);
		EXPECT_TRUE(assigned.isLocked(vParents[1]));
		early.addLockedConstraint(vParents[2]);
		EXPECT_FALSE(params.isLocked(vParents[2]) || early.isLocked(vParents[0]));
		MeshGenParams later(*pCopy);
		delete pCopy;
		EXPECT_TRUE(later.isLocked(vParents[0]) && later.isLocked(vParents[1]));
	}
	EXPECT_EQ(params.pLockedConstraints->size(), 2u);

	LeftHalfFine graded(s.pZone, 0.0, 0.4);
	captureStdout([&]() { s.dt.refineAdvanced(&graded); });
	EXPECT_GT(graded.numCalls, 0u);
	ExemptionCheck exemption(s.dt, graded.minAngleDegree, graded.minEdgeLength);
	size_t numCoarseRight(0);
	for(Triangle2* pT : zoneTriangles(s.pZone))
	{
		bool bLeft(pT->getBarycenter().x() < 0.0);
		EXPECT_TRUE(!bLeft || exemption.isExempt(pT) || maxEdge25D(pT) <= 0.4);
		numCoarseRight += (!bLeft && maxEdge25D(pT) > 1.0) ? 1 : 0;
	}
	EXPECT_GT(numCoarseRight, 0u);
}

// Bounds that cannot be met end at the insertion limit with a message.
TEST(Mesh, UnreachableBoundsStopAtTheInsertionLimit)
{
	Mirel_2D dt(100);
	std::vector<Point2> vSquare{Point2(0, 0, 1), Point2(0.01, 0, 1), Point2(0.01, 0.01, 1), Point2(0, 0.01, 1)};
	dt.insert(vSquare);
	std::vector<Segment2> vSegments;
	for(size_t i = 0; i < 4; ++i) vSegments.push_back(Segment2(vSquare[i], vSquare[(i + 1) % 4]));
	ConstraintGraph2* pGraph(dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true));
	Zone2* pZone(dt.createZone(pGraph, ZL_INSIDE, false));
	LeftHalfFine params(pZone, 1e300, 1e-9);
	std::string out(captureStdout([&]() { dt.refineAdvanced(&params); }));
	EXPECT_NE(out.find("refinement stopped after"), std::string::npos);
	EXPECT_GT(dt.numberOfPoints(), 1000u);
	expectConstrainedDelaunay(dt);
	expectPiecesCoverParents(pGraph, true);
}

// verbosity 1: each refinement reason is printed and drawn.
TEST(Mesh, VerboseRunReportsAndDrawsItsDecisions)
{
	MeshSetup s(randomScene(41, 0, 0.0, 0.0, true));
	MeshGenParams params(s.pZone);
	params.verbosity = 1;
	params.maxEdgeLength = 5.0;
	std::string out(captureStdout([&]() { s.dt.refineAdvanced(&params); }));
	EXPECT_TRUE(countOf(out, "RefC: sidelength is ") > 0 && countOf(out, "RefC: minAngle, current=") > 0);
	std::ifstream picture("need_1_sidelen.ps");
	EXPECT_TRUE(picture.good() || std::ifstream("need_1_quality25.ps").good());
}

// With a height guide new interior points take the guide's heights (the plane with a bump).
// A guide lifted far above the border cannot give short edges there: the run ends with a
// message, and the triangles of guided corners alone meet the bound.
TEST(Mesh, HeightGuideGivesTheHeightsOfNewInteriorPoints)
{
	for(double lift : {0.0, 1000.0})
	{
		MeshScene scene(randomScene(51, 3, 0.0, 0.0, true));
		MeshSetup s(scene);
		Mirel_2D guide(1000);
		std::vector<Point2> vGuide;
		for(double x = -20; x <= 20; x += 0.5)
			for(double y = -20; y <= 20; y += 0.5) vGuide.push_back(Point2(x, y, lift + scene.planeZ(x, y) + 0.3 * std::sin(x) * std::sin(y)));
		guide.insert(vGuide);
		std::set<Point2*> sBefore(vertexSet(s.dt)), sGuided;
		MeshGenParams params(s.pZone);
		params.pHeightGuide = &guide;
		params.maxEdgeLength = 1.0;
		std::string out(captureStdout([&]() { s.dt.refineAdvanced(&params); }));
		EXPECT_EQ(out.find("the height guide differs") != std::string::npos, lift > 0.0) << out;
		for(Point2* p : vertexSet(s.dt))
		{
			if(sBefore.count(p) != 0 || s.dt.isConstraint(p)) continue;
			double expected(0.0);
			ASSERT_TRUE(guide.getHeight(p->x(), p->y(), expected));
			EXPECT_EQ(p->z(), expected);
			if(std::fabs(p->z() - scene.planeZ(p->x(), p->y())) > 0.01) sGuided.insert(p);
		}
		EXPECT_GT(sGuided.size(), 10u);
		EXPECT_LT(s.dt.numberOfPoints(), 20000u);
		for(Triangle2* pT : zoneTriangles(s.pZone))
			EXPECT_TRUE(sGuided.count(pT->getCorner(0)) + sGuided.count(pT->getCorner(1)) + sGuided.count(pT->getCorner(2)) < 3 || maxEdge25D(pT) <= 1.0);
	}
}

} // namespace
} // namespace mtest
