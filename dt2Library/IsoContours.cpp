#include "IsoContours.h"
#include "tools.h"
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <sstream>
#include <utility>

namespace MIREL25D {

namespace {

bool isFiniteCorner(const Point2* p)
{
	return std::isfinite(p->x()) && std::isfinite(p->y()) && std::isfinite(p->z());
}

// Where the line through p and q crosses the edge u-v, whose ends lie
// strictly on both sides of it; the height is interpolated along the edge.
// The ends are taken in coordinate order, so both triangles at the edge get
// the same point.
Point2 lineEdgeCrossing(const Point2& p, const Point2& q, const Point2* u, const Point2* v)
{
	if(*v < *u) std::swap(u, v);
	double dx(q.x() - p.x()), dy(q.y() - p.y());
	double du(dx * (u->y() - p.y()) - dy * (u->x() - p.x()));
	double dv(dx * (v->y() - p.y()) - dy * (v->x() - p.x()));
	double t(du != dv ? du / (du - dv) : 0.5);
	t = std::min(std::max(t, 0.0), 1.0);
	double z(u->z() + t * (v->z() - u->z()));
	z = std::min(std::max(z, std::min(u->z(), v->z())), std::max(u->z(), v->z()));
	return Point2(u->x() + t * (v->x() - u->x()), u->y() + t * (v->y() - u->y()), z);
}

} // namespace

const double* IsoContours::SortedHeights::find(double h) const
{
	std::vector<double>::const_iterator it(std::lower_bound(v.begin(), v.end(), h));
	return (it != v.end() && *it == h) ? v.data() + (it - v.begin()) : end();
}

IsoContours::IsoContours(const std::vector<Triangle2*>& vTriangles_) : currentStamp(0), minHeight(DBL_MAX), maxHeight(-DBL_MAX), bHasDirection(false)
{
	init(vTriangles_);
}

IsoContours::IsoContours(const std::vector<Triangle2*>& vTriangles_, const Vector2& dirVec)
	: currentStamp(0), minHeight(DBL_MAX), maxHeight(-DBL_MAX), bHasDirection(false), direction(dirVec)
{
	init(vTriangles_);
	if(!std::isfinite(dirVec.x()) || !std::isfinite(dirVec.y()) || (dirVec.x() == 0.0 && dirVec.y() == 0.0))
	{
		sendWarning("IsoContours::IsoContours()", "the direction vector is zero or not finite, profiles are not available");
		return;
	}
	bHasDirection = true;
}

void IsoContours::init(const std::vector<Triangle2*>& vTrianglesIn)
{
	vTriangles.reserve(vTrianglesIn.size());
	size_t numLeftOut(0);
	for(Triangle2* pT : vTrianglesIn)
	{
		if(pT != nullptr && pT->isAlive() && isFiniteCorner(pT->getCorner(0)) && isFiniteCorner(pT->getCorner(1)) && isFiniteCorner(pT->getCorner(2)))
			vTriangles.push_back(pT);
		else ++numLeftOut;
	}
	if(numLeftOut > 0)
	{
		std::ostringstream ss;
		ss << numLeftOut << " null, dead or non-finite triangles left out";
		sendWarning("IsoContours::IsoContours()", ss.str());
	}
	if(vTriangles.empty()) sendWarning("IsoContours::IsoContours()", "no triangles, there will be no contours");
	std::sort(vTriangles.begin(), vTriangles.end());
	vTriangles.erase(std::unique(vTriangles.begin(), vTriangles.end()), vTriangles.end());

	size_t n(vTriangles.size());
	vMinMaxZ.resize(2 * n);
	vNeighbour.resize(3 * n);
	vStamp.assign(n, 0);
	std::vector<double>& vHeights(sForbiddenHeights.v);
	vHeights.reserve(3 * n);
	double maxAbs(0.0);
	for(size_t i = 0; i < n; ++i)
	{
		const Triangle2* pT(vTriangles[i]);
		double z0(pT->getCorner(0)->z()), z1(pT->getCorner(1)->z()), z2(pT->getCorner(2)->z());
		vMinMaxZ[2 * i] = std::min(z0, std::min(z1, z2));
		vMinMaxZ[2 * i + 1] = std::max(z0, std::max(z1, z2));
		minHeight = std::min(minHeight, vMinMaxZ[2 * i]);
		maxHeight = std::max(maxHeight, vMinMaxZ[2 * i + 1]);
		for(int k = 0; k < 3; ++k)
		{
			vHeights.push_back(pT->getCorner(k)->z());
			maxAbs = std::max(maxAbs, pT->getCorner(k)->getMaxAbs());
			Triangle2* pN(pT->getOppositeTriangle(k));
			std::vector<Triangle2*>::const_iterator it(std::lower_bound(vTriangles.begin(), vTriangles.end(), pN));
			bool bInSet(pN != nullptr && it != vTriangles.end() && *it == pN);
			vNeighbour[3 * i + size_t(k)] = bInSet ? uint32_t(it - vTriangles.begin()) : NO_NEIGHBOUR;
		}
	}
	std::sort(vHeights.begin(), vHeights.end());
	vHeights.erase(std::unique(vHeights.begin(), vHeights.end()), vHeights.end());
	geomTest.setStaticBound_MT(maxAbs);
}

bool IsoContours::getContours(double height, std::vector<std::vector<Segment2>>& vvContours, bool bVerbose, bool bSafeMode)
{
	vvContours.clear();
	if(!std::isfinite(height))
	{
		std::ostringstream ss;
		ss << "the height " << height << " is not finite, no contours";
		sendWarning("IsoContours::getContours()", ss.str());
		return false;
	}
	if(vTriangles.empty())
	{
		sendWarning("IsoContours::getContours()", "no triangles, no contours");
		return false;
	}
	if(sForbiddenHeights.find(height) != sForbiddenHeights.end())
	{
		if(!bSafeMode)
		{
			if(bVerbose)
			{
				std::ostringstream ss;
				ss << "Degenerate intersection at height z=" << height << ".\n      Please add a little noise and try again. Use bVerbose=false to suppress this message.";
				sendWarning("IsoContours::getContours()", ss.str());
			}
			return false;
		}
		// The smallest power of two that still changes the height.
		double add(1.0);
		if(height + 0.5 > height)
		{
			while(height + add * 0.5 > height) add *= 0.5;
		}
		if(add * 1000 < 1e-6) add = add * 1000;
		MIREL_ASSERT(height+add>height);
		while(sForbiddenHeights.find(height + add) != sForbiddenHeights.end()) add *= 2.0;
		if(bVerbose)
		{
			std::ostringstream ss;
			ss << "Degenerate intersection at height z=" << height << ". Adding " << add << " automatically.\n      Use bVerbose=false to suppress this message.";
			sendWarning("IsoContours::getContours()", ss.str());
		}
		height = height + add;
		MIREL_ASSERT(sForbiddenHeights.find(height)==sForbiddenHeights.end());
	}
	if(!collectCrossedTriangles(height))
	{
		if(bVerbose) sendWarning("IsoContours::getContours()", "intersecting the triangles failed, no contours");
		return false;
	}
	// Open polylines first, each from the border edge where it enters the
	// set, so that none is split; what remains are closed rings.
	for(uint32_t i : vCrossed)
	{
		int inEdge(-1), outEdge(-1);
		getCrossedEdges(i, height, inEdge, outEdge);
		if(!isBorderEdge(i, inEdge)) continue;
		vvContours.push_back(std::vector<Segment2>());
		followContour(i, inEdge, height, vvContours.back());
	}
	for(uint32_t i : vCrossed)
	{
		if(vStamp[i] == currentStamp) continue;
		int inEdge(-1), outEdge(-1);
		getCrossedEdges(i, height, inEdge, outEdge);
		vvContours.push_back(std::vector<Segment2>());
		followContour(i, inEdge, height, vvContours.back());
	}
	return true;
}

bool IsoContours::collectCrossedTriangles(double height)
{
	if(++currentStamp == 0)
	{
		std::fill(vStamp.begin(), vStamp.end(), 0);
		currentStamp = 1;
	}
	vCrossed.clear();
	for(size_t i = 0; i < vTriangles.size(); ++i)
	{
		if(!(vMinMaxZ[2 * i] < height && height < vMinMaxZ[2 * i + 1])) continue;
		const Triangle2* pT(vTriangles[i]);
		int numCrossings(0);
		for(int k = 0; k < 3; ++k)
		{
			double zu(pT->getCorner(nextIndex(k))->z()), zv(pT->getCorner(prevIndex(k))->z());
			if((zu < height && height < zv) || (zv < height && height < zu)) ++numCrossings;
		}
		if(numCrossings != 2)
		{
			std::ostringstream ss;
			if(numCrossings == 0) ss << "Unexpected case, no intersection";
			else ss << "Unexpected case, number of intersections:" << numCrossings;
			sendWarning("IsoContours::getIntersectionSegments()", ss.str());
			return false;
		}
		vCrossed.push_back(uint32_t(i));
	}
	return true;
}

void IsoContours::getCrossedEdges(uint32_t i, double height, int& inEdge, int& outEdge) const
{
	const Triangle2* pT(vTriangles[i]);
	bool aAbove[3];
	for(int k = 0; k < 3; ++k) aAbove[k] = pT->getCorner(k)->z() > height;
	// The corner alone on its side of the height.
	int m(aAbove[0] == aAbove[1] ? 2 : (aAbove[0] == aAbove[2] ? 1 : 0));
	if(aAbove[m])
	{
		inEdge = prevIndex(m);
		outEdge = nextIndex(m);
	}
	else
	{
		inEdge = nextIndex(m);
		outEdge = prevIndex(m);
	}
}

Point2 IsoContours::getContourPoint(uint32_t i, int edge, double height) const
{
	const Triangle2* pT(vTriangles[i]);
	const Point2* pLow(pT->getCorner(nextIndex(edge)));
	const Point2* pHigh(pT->getCorner(prevIndex(edge)));
	if(pHigh->z() < pLow->z()) std::swap(pLow, pHigh);
	// From the lower end, as the neighbour across the edge computes it too.
	double t((height - pLow->z()) / (pHigh->z() - pLow->z()));
	return Point2(pLow->x() + t * (pHigh->x() - pLow->x()), pLow->y() + t * (pHigh->y() - pLow->y()), height);
}

void IsoContours::followContour(uint32_t i, int inEdge, double height, std::vector<Segment2>& vContour)
{
	uint32_t start(i);
	Point2 pIn(getContourPoint(i, inEdge, height));
	for(;;)
	{
		vStamp[i] = currentStamp;
		int in(-1), out(-1);
		getCrossedEdges(i, height, in, out);
		Point2 pOut(getContourPoint(i, out, height));
		vContour.push_back(Segment2(pIn, pOut));
		uint32_t next(vNeighbour[3 * size_t(i) + size_t(out)]);
		if(next == NO_NEIGHBOUR || next == start || vStamp[next] == currentStamp) return;
		i = next;
		pIn = pOut;
	}
}

void IsoContours::getProfile(const Point2& p, std::vector<Segment2>& vSegments)
{
	if(!bHasDirection)
	{
		sendWarning("IsoContours::getProfile()", "This method requires that the IsoContours object is created with the constructor that takes a direction vector!");
		return;
	}
	if(!std::isfinite(p.x()) || !std::isfinite(p.y()))
	{
		sendWarning("IsoContours::getProfile()", "non-finite point, no profile");
		return;
	}
	Point2 q(p.x() + direction.x(), p.y() + direction.y(), 0.0);
	if(q == p)
	{
		sendWarning("IsoContours::getProfile()", "the direction vector vanishes at this point, no profile");
		return;
	}
	if(std::max(p.getMaxAbs(), q.getMaxAbs()) > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(std::max(p.getMaxAbs(), q.getMaxAbs()));
	double dx(q.x() - p.x()), dy(q.y() - p.y());
	std::vector<std::pair<double, Segment2>> vPieces;
	for(size_t i = 0; i < vTriangles.size(); ++i)
	{
		const Triangle2* pT(vTriangles[i]);
		Orientation2 o[3];
		for(int k = 0; k < 3; ++k) o[k] = geomTest.getOrientation2(&p, &q, pT->getCorner(k));
		if(o[0] == o[1] && o[1] == o[2]) continue; // all on one side (never all on the line)
		Point2 aEnds[2];
		int numEnds(0);
		int numOnLine(0);
		for(int k = 0; k < 3; ++k)
		{
			if(o[k] == ORIENTATION2_COLLINEAR)
			{
				aEnds[numEnds++] = *pT->getCorner(k);
				++numOnLine;
			}
		}
		for(int k = 0; k < 3 && numEnds < 2; ++k)
		{
			Orientation2 ou(o[nextIndex(k)]), ov(o[prevIndex(k)]);
			if(ou != ORIENTATION2_COLLINEAR && ov != ORIENTATION2_COLLINEAR && ou != ov)
				aEnds[numEnds++] = lineEdgeCrossing(p, q, pT->getCorner(nextIndex(k)), pT->getCorner(prevIndex(k)));
		}
		if(numEnds < 2) continue; // touches at a corner only
		if(numOnLine == 2)
		{
			// The line runs along an edge: the triangle on its left reports it,
			// or this one where no triangle of the set lies there.
			int third(o[0] != ORIENTATION2_COLLINEAR ? 0 : (o[1] != ORIENTATION2_COLLINEAR ? 1 : 2));
			if(o[third] != ORIENTATION2_CCW && !isBorderEdge(uint32_t(i), third)) continue;
		}
		double t0((aEnds[0].x() - p.x()) * dx + (aEnds[0].y() - p.y()) * dy);
		double t1((aEnds[1].x() - p.x()) * dx + (aEnds[1].y() - p.y()) * dy);
		if(t1 < t0) vPieces.push_back(std::make_pair(t1, Segment2(aEnds[1], aEnds[0])));
		else vPieces.push_back(std::make_pair(t0, Segment2(aEnds[0], aEnds[1])));
	}
	std::sort(vPieces.begin(), vPieces.end(), [](const std::pair<double, Segment2>& a, const std::pair<double, Segment2>& b) { return a.first < b.first; });
	for(const std::pair<double, Segment2>& piece : vPieces) vSegments.push_back(piece.second);
}

} // namespace MIREL25D
