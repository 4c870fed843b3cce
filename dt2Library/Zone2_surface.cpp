// Surface operations of a zone: height smoothing, data-dependent edge flips
// (valleys and ridges) and grid unification. They change only the zone's
// triangles: flips keep both triangle objects of the quadrilateral, so the
// zone, whose borders are constraint edges that are never flipped, holds the
// same triangles afterwards.
#include "Dt2.h"
#include "GeomTest.h"
#include "MeshSurgery.h"
#include "Triangle2.h"
#include "Zone2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <utility>
#include <vector>

namespace MIREL25D {

namespace {

// A flip must lower the summed normal angles by more than this (radians).
// The angles of one configuration are a deterministic function of its
// triangles, so requiring a margin far above the rounding of a sum of ten
// such terms makes the true sum fall strictly with every flip: no cycles.
const double MIN_GAIN(1e-12);
// The gain of a flip that the caller's thresholds forbid.
const double FORBIDDEN(-std::numeric_limits<double>::infinity());

// Zone membership by binary search in the zone's triangles (address order).
class ZoneTriangles
{
public:
	explicit ZoneTriangles(const Zone2* pZone)
	{
		pZone->getTriangles(vT);
		std::sort(vT.begin(), vT.end());
	}
	bool has(const Triangle2* pT) const { return pT != nullptr && std::binary_search(vT.begin(), vT.end(), pT); }
	const std::vector<Triangle2*>& all() const { return vT; }
	bool empty() const { return vT.empty(); }

private:
	std::vector<Triangle2*> vT;
};

struct UnitNormal
{
	double x, y, z;
};

// The unit normal of the counterclockwise triangle (a, b, c), computed from
// its lowest-address corner on, so that the same triangle always yields the
// same bits whatever its corner rotation.
UnitNormal unitNormal(const Point2* a, const Point2* b, const Point2* c)
{
	if(b < a && b < c)
	{
		const Point2* t(a);
		a = b;
		b = c;
		c = t;
	}
	else if(c < a && c < b)
	{
		const Point2* t(c);
		c = b;
		b = a;
		a = t;
	}
	double ux(b->x() - a->x()), uy(b->y() - a->y()), uz(b->z() - a->z());
	double vx(c->x() - a->x()), vy(c->y() - a->y()), vz(c->z() - a->z());
	double nx(uy * vz - uz * vy), ny(uz * vx - ux * vz), nz(ux * vy - uy * vx);
	double len(std::sqrt(nx * nx + ny * ny + nz * nz));
	if(!(len > 0.0) || !std::isfinite(len)) return UnitNormal{0.0, 0.0, 1.0};
	return UnitNormal{nx / len, ny / len, nz / len};
}

UnitNormal unitNormal(const Triangle2* pT)
{
	return unitNormal(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2));
}

// Angle between two unit normals in radians, accurate also for small angles.
double normalAngle(const UnitNormal& n, const UnitNormal& m)
{
	double cx(n.y * m.z - n.z * m.y), cy(n.z * m.x - n.x * m.z), cz(n.x * m.y - n.y * m.x);
	return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), n.x * m.x + n.y * m.y + n.z * m.z);
}

bool isEmptyZone(const ZoneTriangles& zoneT, const char* place)
{
	if(!zoneT.empty()) return false;
	sendWarning(place, "The zone has no triangles, nothing done");
	return true;
}

// The normal angle at the border of a quadrilateral: zero where the outer
// side is the hull.
double outerAngle(const UnitNormal& inner, const Triangle2* pOuterT)
{
	return pOuterT == nullptr ? 0.0 : normalAngle(inner, unitNormal(pOuterT));
}

// The smallest interior 2D angle (radians) of the triangle a, b, c.
double minInteriorAngle(const Point2* a, const Point2* b, const Point2* c)
{
	const Point2* aP[3] = {a, b, c};
	double minAngle(M_PI);
	for(int i = 0; i < 3; ++i)
	{
		const Point2* p(aP[i]);
		const Point2* q(aP[nextIndex(i)]);
		const Point2* r(aP[prevIndex(i)]);
		double ux(q->x() - p->x()), uy(q->y() - p->y()), vx(r->x() - p->x()), vy(r->y() - p->y());
		minAngle = std::min(minAngle, std::atan2(std::fabs(ux * vy - uy * vx), ux * vx + uy * vy));
	}
	return minAngle;
}

/*
 * MeshSurgery::flip of edge i of a: a becomes (ci, ci1, d) and b (ci, d, ci2),
 * both triangle objects are kept, and the new diagonal ci-d is edge 1 of a and
 * edge 2 of b. Both ends of the diagonal take a as their incident triangle,
 * which is where the rings of later smoothing passes start.
 */
void flipDiagonal(Triangle2* a, int i)
{
	MeshSurgery::flip(a, i);
	a->getCorner(0)->setIncidentTriangle(a);
	a->getCorner(2)->setIncidentTriangle(a);
}

// An edge by its end points, with a triangle that held it when it was
// queued. Flips reuse triangle objects, so the edge is looked up again when
// it is taken from a work list.
struct QueuedEdge
{
	Triangle2* pT;
	Point2* a;
	Point2* b;
};

// The index of edge a-b in pT, or -1 if pT no longer has it.
int edgeIndex(const Triangle2* pT, const Point2* a, const Point2* b)
{
	if(!pT->isAlive() || !pT->hasVertex(a) || !pT->hasVertex(b)) return -1;
	for(int i = 0; i < 3; ++i)
	{
		if(pT->getCorner(i) != a && pT->getCorner(i) != b) return i;
	}
	return -1;
}

QueuedEdge queuedEdge(Triangle2* pT, int i)
{
	return QueuedEdge{pT, pT->getCorner(nextIndex(i)), pT->getCorner(prevIndex(i))};
}

// Flips that keep the zone valid, and the measure the data-dependent
// optimisation lowers.
class ZoneFlipper
{
public:
	ZoneFlipper(Dt2* pDt2_, const ZoneTriangles& zoneT_) : pDt2(pDt2_), pGeomTest(pDt2_->getGeomTest()), zoneT(zoneT_), minEdgeAngle(0.0), minNewAngle(0.0), bRecordChanges(false) {}

	void setRestrictions(double minEdgeAngle_, double minNewAngle_)
	{
		minEdgeAngle = minEdgeAngle_;
		minNewAngle = minNewAngle_;
	}

	// Edge i of pT may be flipped: both triangles in the zone, no constraint,
	// and the quadrilateral strictly convex, so both new triangles are
	// counterclockwise. (A zone's border consists of constraint edges and hull
	// edges, so the membership test only guards the outside should that change.)
	bool canFlip(Triangle2* pT, int i) const
	{
		Triangle2* pN(pT->getOppositeTriangle(i));
		if(pN == nullptr || !zoneT.has(pT) || !zoneT.has(pN)) return false;
		if(pDt2->hasConstraints() && pDt2->isConstraint(pT, i)) return false;
		Point2* ci(pT->getCorner(i));
		Point2* d(pN->getCorner(pN->getIntraTriangleIndex(pT)));
		return pGeomTest->getOrientation2(ci, pT->getCorner(nextIndex(i)), d) == ORIENTATION2_CCW &&
			   pGeomTest->getOrientation2(ci, d, pT->getCorner(prevIndex(i))) == ORIENTATION2_CCW;
	}

	// How much flipping edge i of pT lowers the summed normal angles of the
	// five edges of its quadrilateral (negative: it raises them). With
	// restrictions, a flip they forbid never gains.
	double flipGain(Triangle2* pT, int i) const
	{
		Triangle2* pN(pT->getOppositeTriangle(i));
		int j(pN->getIntraTriangleIndex(pT));
		Point2* ci(pT->getCorner(i));
		Point2* ci1(pT->getCorner(nextIndex(i)));
		Point2* ci2(pT->getCorner(prevIndex(i)));
		Point2* d(pN->getCorner(j));
		UnitNormal nT(unitNormal(pT)), nN(unitNormal(pN));
		double before(normalAngle(nT, nN));
		if(before < minEdgeAngle) return FORBIDDEN;
		if(minNewAngle > 0.0 && (minInteriorAngle(ci, ci1, d) < minNewAngle || minInteriorAngle(ci, d, ci2) < minNewAngle)) return FORBIDDEN;
		Triangle2* pOutCiCi1(pT->getOppositeTriangle(prevIndex(i)));
		Triangle2* pOutCi2Ci(pT->getOppositeTriangle(nextIndex(i)));
		Triangle2* pOutCi1D(pN->getOppositeTriangle(nextIndex(j)));
		Triangle2* pOutDCi2(pN->getOppositeTriangle(prevIndex(j)));
		before += outerAngle(nT, pOutCiCi1) + outerAngle(nT, pOutCi2Ci) + outerAngle(nN, pOutCi1D) + outerAngle(nN, pOutDCi2);
		UnitNormal nA(unitNormal(ci, ci1, d)), nB(unitNormal(ci, d, ci2));
		double after(normalAngle(nA, nB) + outerAngle(nA, pOutCiCi1) + outerAngle(nA, pOutCi1D) + outerAngle(nB, pOutDCi2) + outerAngle(nB, pOutCi2Ci));
		return before - after;
	}

	void flip(Triangle2* pT, int i)
	{
		flipDiagonal(pT, i);
		if(bRecordChanges)
		{
			vChangedT.push_back(pT);
			vChangedT.push_back(pT->getOppositeTriangle(1));
		}
	}

	// From now on every flip notes its two triangles.
	void recordChanges()
	{
		bRecordChanges = true;
		vChangedT.clear();
	}

	// The edges of the triangles changed since recordChanges and of their
	// zone neighbours: where a pair of flips can gain anew. False if nothing
	// changed.
	bool takeChangedEdges(std::vector<QueuedEdge>& vOut)
	{
		vOut.clear();
		std::sort(vChangedT.begin(), vChangedT.end());
		vChangedT.erase(std::unique(vChangedT.begin(), vChangedT.end()), vChangedT.end());
		for(Triangle2* pT : vChangedT)
		{
			queueNear(pT, vOut);
			for(int i = 0; i < 3; ++i)
			{
				Triangle2* pN(pT->getOppositeTriangle(i));
				if(zoneT.has(pN)) queueNear(pN, vOut);
			}
		}
		vChangedT.clear();
		return !vOut.empty();
	}

	// pT changed: the gains of its edges and of the other edges of its zone
	// neighbours changed with it.
	void queueNear(Triangle2* pT, std::vector<QueuedEdge>& vOut) const
	{
		for(int i = 0; i < 3; ++i)
		{
			vOut.push_back(queuedEdge(pT, i));
			Triangle2* pOut(pT->getOppositeTriangle(i));
			if(pOut == nullptr || !zoneT.has(pOut)) continue;
			int k(pOut->getIntraTriangleIndex(pT));
			vOut.push_back(queuedEdge(pOut, nextIndex(k)));
			vOut.push_back(queuedEdge(pOut, prevIndex(k)));
		}
	}
	// After a flip that made pA and its neighbour across edge 1.
	void queueAround(Triangle2* pA, std::vector<QueuedEdge>& vOut) const
	{
		queueNear(pA, vOut);
		queueNear(pA->getOppositeTriangle(1), vOut);
	}

	// Every edge between two zone triangles, once.
	void queueAll(std::vector<QueuedEdge>& vOut) const
	{
		for(Triangle2* pT : zoneT.all())
		{
			for(int i = 0; i < 3; ++i)
			{
				Triangle2* pN(pT->getOppositeTriangle(i));
				if(pN != nullptr && pT < pN && zoneT.has(pN)) vOut.push_back(queuedEdge(pT, i));
			}
		}
	}

	// Greedy local optimisation: flips any queued edge that gains until the
	// work list is empty, which leaves no improving single flip among the
	// queued edges and their surroundings.
	void runGreedy(std::vector<QueuedEdge>& vStack)
	{
		while(!vStack.empty())
		{
			QueuedEdge e(vStack.back());
			vStack.pop_back();
			int i(edgeIndex(e.pT, e.a, e.b));
			if(i < 0 || !canFlip(e.pT, i) || !(flipGain(e.pT, i) > MIN_GAIN)) continue;
			flip(e.pT, i);
			queueAround(e.pT, vStack);
		}
	}

	// The most improving flip first; gains are checked again when an edge is
	// taken, since flips nearby change them.
	void runBestFirst()
	{
		std::vector<QueuedEdge> vEdges;
		queueAll(vEdges);
		std::vector<std::pair<double, QueuedEdge>> vHeap;
		auto byGain = [](const std::pair<double, QueuedEdge>& l, const std::pair<double, QueuedEdge>& r) { return l.first < r.first; };
		auto pushIfGaining = [&](const QueuedEdge& e) {
			int i(edgeIndex(e.pT, e.a, e.b));
			if(i < 0 || !canFlip(e.pT, i)) return;
			double gain(flipGain(e.pT, i));
			if(!(gain > MIN_GAIN)) return;
			vHeap.push_back(std::make_pair(gain, e));
			std::push_heap(vHeap.begin(), vHeap.end(), byGain);
		};
		for(const QueuedEdge& e : vEdges) pushIfGaining(e);
		while(!vHeap.empty())
		{
			std::pop_heap(vHeap.begin(), vHeap.end(), byGain);
			std::pair<double, QueuedEdge> top(vHeap.back());
			vHeap.pop_back();
			const QueuedEdge& e(top.second);
			int i(edgeIndex(e.pT, e.a, e.b));
			if(i < 0 || !canFlip(e.pT, i)) continue;
			double gain(flipGain(e.pT, i));
			if(gain != top.first)
			{
				pushIfGaining(e); // stale: queue again with the current gain
				continue;
			}
			flip(e.pT, i);
			vEdges.clear();
			queueAround(e.pT, vEdges);
			for(const QueuedEdge& f : vEdges) pushIfGaining(f);
		}
	}

	// One sweep over the candidate edges: an edge whose flip alone does not
	// gain is flipped together with the best follow-up flip of its new
	// quadrilateral's border when both together gain; otherwise it is
	// flipped back. Gaining single flips are followed greedily.
	void sweepPairs(const std::vector<QueuedEdge>& vCandidates, std::vector<QueuedEdge>& vStack)
	{
		for(const QueuedEdge& e : vCandidates)
		{
			int i(edgeIndex(e.pT, e.a, e.b));
			if(i < 0 || !canFlip(e.pT, i)) continue;
			double firstGain(flipGain(e.pT, i));
			if(firstGain > MIN_GAIN)
			{
				flip(e.pT, i);
				queueAround(e.pT, vStack);
				runGreedy(vStack);
				continue;
			}
			Triangle2* pA(e.pT);
			flipDiagonal(pA, i);
			Triangle2* pB(pA->getOppositeTriangle(1));
			// The four border edges of the quadrilateral: edges 0, 2 of a, 0, 1 of b.
			std::pair<Triangle2*, int> aBorder[4] = {{pA, 0}, {pA, 2}, {pB, 0}, {pB, 1}};
			double bestGain(FORBIDDEN);
			int best(-1);
			for(int k = 0; k < 4; ++k)
			{
				if(!canFlip(aBorder[k].first, aBorder[k].second)) continue;
				double gain(flipGain(aBorder[k].first, aBorder[k].second));
				if(best < 0 || gain > bestGain)
				{
					bestGain = gain;
					best = k;
				}
			}
			if(best >= 0 && firstGain + bestGain > MIN_GAIN)
			{
				if(bRecordChanges)
				{
					vChangedT.push_back(pA);
					vChangedT.push_back(pB);
				}
				Triangle2* pSecond(aBorder[best].first);
				flip(pSecond, aBorder[best].second);
				queueNear(pA, vStack);
				queueNear(pB, vStack);
				queueNear(pSecond->getOppositeTriangle(1), vStack);
				runGreedy(vStack);
			}
			else
			{
				flipDiagonal(pA, 1); // back to the original diagonal
			}
		}
	}

private:
	Dt2* pDt2;
	GeomTest* pGeomTest;
	const ZoneTriangles& zoneT;
	double minEdgeAngle; // radians; edges flatter than this stay
	double minNewAngle; // radians; smallest interior angle a flip may create
	bool bRecordChanges;
	std::vector<Triangle2*> vChangedT; // triangles changed by flips since recordChanges
};

// The counterclockwise ring of neighbours of v, when every triangle around
// v is a zone triangle and the fan is closed (v is no hull vertex).
bool getInnerRing(Point2* v, const ZoneTriangles& zoneT, std::vector<Point2*>& vRing, std::vector<Triangle2*>& vFan)
{
	vRing.clear();
	vFan.clear();
	Triangle2* pStart(v->getIncidentTriangle());
	Triangle2* pT(pStart);
	do
	{
		if(pT == nullptr || !zoneT.has(pT)) return false;
		int k(pT->getIntraTriangleIndex(v));
		vRing.push_back(pT->getCorner(nextIndex(k)));
		vFan.push_back(pT);
		pT = pT->getOppositeTriangle(nextIndex(k)); // across v -> corner k+2: the next triangle counterclockwise
	} while(pT != pStart);
	return true;
}

// The zone's vertices whose height or position an operation may change:
// inner vertices that are no constraint vertices.
void getMovableVertices(const Zone2* pZone, const ZoneTriangles& zoneT, std::vector<Point2*>& vMovable)
{
	Dt2* pDt2(pZone->getDelaunayTriangulation());
	std::vector<Point2*> vAll, vRing;
	std::vector<Triangle2*> vFan;
	pZone->getVertices(vAll);
	for(Point2* v : vAll)
	{
		if(!getInnerRing(v, zoneT, vRing, vFan)) continue;
		// Split points of constraints are no constraint end points: ask the edges too.
		bool bOnConstraint(pDt2->hasConstraints() && pDt2->isConstraint(v));
		for(size_t j = 0; j < vRing.size() && !bOnConstraint; ++j) bOnConstraint = pDt2->hasConstraints() && pDt2->isConstraint(v, vRing[j]);
		if(!bOnConstraint) vMovable.push_back(v);
	}
}

} // namespace

// ======================================================================
// Smoothing
// ======================================================================

bool Zone2::smoothing(int numIterations)
{
	const char* place("Zone2::smoothing()");
	if(numIterations < 0)
	{
		sendWarning(place, "numIterations must not be negative, nothing done");
		return false;
	}
	ZoneTriangles zoneT(this);
	if(isEmptyZone(zoneT, place)) return false;
	if(numIterations == 0) return true;

	// Cotangent weights of each movable vertex's edges: they reproduce linear
	// functions, so a plane is a fixed point, and they are symmetric, so the
	// smoothing operator has real eigenvalues in [0, 2] and Taubin's steps
	// stay stable. Where the mesh is not Delaunay (after data-dependent flips)
	// an edge weight can turn negative; it is taken as zero. The weights depend
	// only on x and y, which smoothing keeps, so they are made once.
	std::vector<Point2*> vMovable, vRing;
	std::vector<Triangle2*> vFan;
	getMovableVertices(this, zoneT, vMovable);
	std::vector<size_t> vOffset(1, 0);
	std::vector<Point2*> vNeighbour;
	std::vector<double> vWeight;
	std::vector<Point2*> vSmoothed;
	// Cotangent of the angle at p in the triangle p, a, b (a, b counterclockwise).
	auto cotAt = [](const Point2* p, const Point2* a, const Point2* b) {
		double ax(a->x() - p->x()), ay(a->y() - p->y()), bx(b->x() - p->x()), by(b->y() - p->y());
		return (ax * bx + ay * by) / (ax * by - ay * bx);
	};
	for(Point2* v : vMovable)
	{
		getInnerRing(v, zoneT, vRing, vFan);
		size_t m(vRing.size()), first(vWeight.size());
		double sum(0.0);
		for(size_t j = 0; j < m; ++j)
		{
			const Point2* pPrev(vRing[(j + m - 1) % m]);
			const Point2* p(vRing[j]);
			const Point2* pNext(vRing[(j + 1) % m]);
			// The angles opposite the edge v-p in its two triangles.
			double w(0.5 * (cotAt(pPrev, p, v) + cotAt(pNext, v, p)));
			w = std::isfinite(w) ? std::max(0.0, w) : -1.0;
			vNeighbour.push_back(vRing[j]);
			vWeight.push_back(w);
			sum += w;
		}
		bool bUsable(sum > 0.0 && std::isfinite(sum));
		for(size_t j = first; j < vWeight.size() && bUsable; ++j) bUsable = vWeight[j] >= 0.0;
		if(!bUsable) // a fan too thin for double precision: the height stays
		{
			vNeighbour.resize(first);
			vWeight.resize(first);
			continue;
		}
		for(size_t j = first; j < vWeight.size(); ++j) vWeight[j] /= sum;
		vSmoothed.push_back(v);
		vOffset.push_back(vWeight.size());
	}

	// Taubin's lambda|mu smoothing: a Laplacian step shrinks, the following
	// negative step inflates, and together they damp the high frequencies
	// (noise) while keeping the low ones (the shape, hence the volume).
	const double aFactor[2] = {0.5, -0.53};
	std::vector<double> vNewZ(vSmoothed.size());
	for(int iter = 0; iter < numIterations; ++iter)
	{
		for(double factor : aFactor)
		{
			for(size_t k = 0; k < vSmoothed.size(); ++k)
			{
				double z(vSmoothed[k]->z()), laplace(0.0);
				for(size_t j = vOffset[k]; j < vOffset[k + 1]; ++j) laplace += vWeight[j] * (vNeighbour[j]->z() - z);
				vNewZ[k] = z + factor * laplace;
			}
			for(size_t k = 0; k < vSmoothed.size(); ++k) vSmoothed[k]->setZ(vNewZ[k]);
		}
	}
	return true;
}

// ======================================================================
// Data-dependent triangulation
// ======================================================================

bool Zone2::slopeValleyRidgeOptimization(OptimizationMode optimizationMode)
{
	const char* place("Zone2::slopeValleyRidgeOptimization()");
	if(optimizationMode != OM_FAST && optimizationMode != OM_BEST_FIRST && optimizationMode != OM_LOOKAHEAD)
	{
		std::ostringstream oss;
		oss << "Unknown OptimizationMode " << int(optimizationMode) << ", nothing done";
		sendWarning(place, oss.str());
		return false;
	}
	ZoneTriangles zoneT(this);
	if(isEmptyZone(zoneT, place)) return false;
	ZoneFlipper flipper(pDt2, zoneT);
	std::vector<QueuedEdge> vStack;
	if(optimizationMode == OM_FAST)
	{
		flipper.queueAll(vStack);
		flipper.runGreedy(vStack);
		return true;
	}
	flipper.runBestFirst();
	if(optimizationMode == OM_LOOKAHEAD)
	{
		// The first sweep looks at every edge, later ones only where the
		// previous sweep changed something: elsewhere no pair gains.
		std::vector<QueuedEdge> vCandidates;
		flipper.queueAll(vCandidates);
		do
		{
			flipper.recordChanges();
			flipper.sweepPairs(vCandidates, vStack);
		} while(flipper.takeChangedEdges(vCandidates));
	}
	return true;
}

bool Zone2::optimizeValleysAndRidges(double minEdgeAngleDeg, double minInteriorAngleDeg)
{
	const char* place("Zone2::optimizeValleysAndRidges()");
	if(!(minEdgeAngleDeg >= 0.0 && minEdgeAngleDeg <= 180.0) || !(minInteriorAngleDeg >= 0.0 && minInteriorAngleDeg <= 60.0))
	{
		sendWarning(place, "minEdgeAngleDeg must lie in [0, 180] and minInteriorAngleDeg in [0, 60], nothing done");
		return false;
	}
	ZoneTriangles zoneT(this);
	if(isEmptyZone(zoneT, place)) return false;
	ZoneFlipper flipper(pDt2, zoneT);
	flipper.setRestrictions(minEdgeAngleDeg * M_PI / 180.0, minInteriorAngleDeg * M_PI / 180.0);
	std::vector<QueuedEdge> vStack;
	flipper.queueAll(vStack);
	flipper.runGreedy(vStack);
	return true;
}

// ======================================================================
// Grid unification
// ======================================================================

namespace {

// The representative of the run a value falls into.
double snappedValue(const std::vector<double>& vRunStart, const std::vector<double>& vRunMedian, double value)
{
	size_t run(size_t(std::upper_bound(vRunStart.begin(), vRunStart.end(), value) - vRunStart.begin()) - 1);
	return vRunMedian[run];
}

// Groups the sorted values into runs no wider than tolerance, each starting
// at its smallest value. A run's representative is its most frequent value
// (the grid line that most points already hit exactly), or its median where
// no value repeats; it is always a value of the data.
void makeRuns(std::vector<double>& vValues, double tolerance, std::vector<double>& vRunStart, std::vector<double>& vRunRepresentative)
{
	std::sort(vValues.begin(), vValues.end());
	size_t begin(0);
	while(begin < vValues.size())
	{
		size_t end(begin + 1);
		while(end < vValues.size() && vValues[end] - vValues[begin] <= tolerance) ++end;
		double representative(vValues[begin + (end - begin - 1) / 2]);
		size_t bestCount(1);
		for(size_t k = begin; k < end;)
		{
			size_t same(k + 1);
			while(same < end && vValues[same] == vValues[k]) ++same;
			if(same - k > bestCount)
			{
				bestCount = same - k;
				representative = vValues[k];
			}
			k = same;
		}
		vRunStart.push_back(vValues[begin]);
		vRunRepresentative.push_back(representative);
		begin = end;
	}
}

// Lawson flips inside the zone until every queued edge between two zone
// triangles that is no constraint is locally Delaunay (exact in-circle).
void restoreDelaunay(Dt2* pDt2, const ZoneTriangles& zoneT, std::vector<QueuedEdge>& vStack)
{
	GeomTest* pGeomTest(pDt2->getGeomTest());
	ZoneFlipper flipper(pDt2, zoneT);
	while(!vStack.empty())
	{
		QueuedEdge e(vStack.back());
		vStack.pop_back();
		int i(edgeIndex(e.pT, e.a, e.b));
		if(i < 0) continue;
		Triangle2* pN(e.pT->getOppositeTriangle(i));
		if(pN == nullptr) continue;
		Point2* d(pN->getCorner(pN->getIntraTriangleIndex(e.pT)));
		if(pGeomTest->circleInc3state(e.pT, d) != CINC2_INCIRCLE || !flipper.canFlip(e.pT, i)) continue;
		flipper.flip(e.pT, i);
		Triangle2* pB(e.pT->getOppositeTriangle(1));
		vStack.push_back(queuedEdge(e.pT, 0));
		vStack.push_back(queuedEdge(e.pT, 2));
		vStack.push_back(queuedEdge(pB, 0));
		vStack.push_back(queuedEdge(pB, 1));
	}
}

} // namespace

bool Zone2::unifyGrid(double tolerance)
{
	const char* place("Zone2::unifyGrid()");
	if(!(tolerance >= 0.0) || !std::isfinite(tolerance))
	{
		sendWarning(place, "tolerance must be finite and not negative, nothing done");
		return false;
	}
	ZoneTriangles zoneT(this);
	if(isEmptyZone(zoneT, place)) return false;

	std::vector<Point2*> vAll, vMovable, vRing;
	std::vector<Triangle2*> vFan;
	getVertices(vAll);
	std::vector<double> vX, vY, vStartX, vMedianX, vStartY, vMedianY;
	for(Point2* v : vAll)
	{
		vX.push_back(v->x());
		vY.push_back(v->y());
	}
	makeRuns(vX, tolerance, vStartX, vMedianX);
	makeRuns(vY, tolerance, vStartY, vMedianY);

	getMovableVertices(this, zoneT, vMovable);
	GeomTest* pGeomTest(pDt2->getGeomTest());
	std::vector<QueuedEdge> vStack;
	for(Point2* v : vMovable)
	{
		Point2 target(snappedValue(vStartX, vMedianX, v->x()), snappedValue(vStartY, vMedianY, v->y()), v->z());
		if(target.x() == v->x() && target.y() == v->y()) continue;
		getInnerRing(v, zoneT, vRing, vFan);
		// The new place must see every ring edge on its left: then it lies in
		// the kernel of the ring polygon, no triangle folds over and no other
		// vertex can be there.
		bool bFree(true);
		for(size_t j = 0; j < vRing.size() && bFree; ++j)
		{
			bFree = pGeomTest->getOrientation2(vRing[j], vRing[(j + 1) % vRing.size()], &target) == ORIENTATION2_CCW;
		}
		if(!bFree) continue;
		v->setCoords(target.x(), target.y(), v->z());
		// Every edge whose in-circle test involves v: the spokes and the ring edges.
		for(Triangle2* pT : vFan)
		{
			for(int i = 0; i < 3; ++i) vStack.push_back(queuedEdge(pT, i));
		}
		restoreDelaunay(pDt2, zoneT, vStack);
	}
	return true;
}

} // namespace MIREL25D
