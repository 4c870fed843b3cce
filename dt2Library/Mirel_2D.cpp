#include "Mirel_2D.h"
#include "Dt2.h"
#include "InputCheck.h"
#include "MeshGenParams.h"
#include <iostream>
#include "tools.h"
#include <new>
#include <sstream>

namespace MIREL25D {

Mirel_2D::Mirel_2D(unsigned int numExpectedVertices) : pImpl(new(std::nothrow) Dt2(numExpectedVertices)) {}

Mirel_2D::~Mirel_2D()
{
	delete pImpl;
}

// Every entry point that takes coordinates refuses NaN, infinite and
// out-of-range values here (InputCheck), with one warning per call, before
// anything reaches the triangulation; the accepted part of the call goes in.

Point2* Mirel_2D::insert(const Point2& p)
{
	if(!InputCheck::acceptOne("Mirel_2D::insert(const Point2&)", "point", InputCheck::TRIANGULATION, p)) return nullptr;
	return pImpl->insert(p);
}

void Mirel_2D::insert(const std::vector<Point2>& vInputPoints)
{
	AcceptedPoints accepted(vInputPoints, "Mirel_2D::insert(const std::vector<Point2>&)");
	pImpl->insertVector(accepted.points());
}

void Mirel_2D::insert(const std::vector<Point2>& vInputPoints, std::vector<Point2*>& vHandles)
{
	AcceptedPoints accepted(vInputPoints, "Mirel_2D::insert(const std::vector<Point2>&, std::vector<Point2*>&)");
	if(accepted.allAccepted())
	{
		pImpl->insertVector(vInputPoints, vHandles);
		return;
	}
	std::vector<Point2*> vKeptHandles;
	pImpl->insertVector(accepted.points(), vKeptHandles);
	accepted.spreadHandles(vKeptHandles, vHandles);
}

void Mirel_2D::insert(int numPoints, double* aCoordinates, Point2** aHandles)
{
	if(numPoints <= 0 || aCoordinates == nullptr)
	{
		pImpl->insert(numPoints, aCoordinates, aHandles);
		return;
	}
	InputCheck check("Mirel_2D::insert(int, double*, Point2**)", "point", InputCheck::TRIANGULATION);
	std::vector<int> vKeptIndex;
	for(int i = 0; i < numPoints; ++i)
	{
		if(check.accept(aCoordinates[3 * i], aCoordinates[3 * i + 1], aCoordinates[3 * i + 2])) vKeptIndex.push_back(i);
	}
	if(check.report(size_t(numPoints)) == 0)
	{
		pImpl->insert(numPoints, aCoordinates, aHandles);
		return;
	}
	std::vector<double> vKeptCoords;
	vKeptCoords.reserve(3 * vKeptIndex.size());
	for(int i : vKeptIndex) vKeptCoords.insert(vKeptCoords.end(), aCoordinates + 3 * i, aCoordinates + 3 * i + 3);
	std::vector<Point2*> vKeptHandles(vKeptIndex.size(), nullptr);
	if(!vKeptIndex.empty()) pImpl->insert(int(vKeptIndex.size()), vKeptCoords.data(), vKeptHandles.data());
	if(aHandles == nullptr) return;
	for(int i = 0; i < numPoints; ++i) aHandles[i] = nullptr;
	for(size_t k = 0; k < vKeptIndex.size(); ++k) aHandles[vKeptIndex[k]] = vKeptHandles[k];
}

double Mirel_2D::measureTriangulationTime(std::vector<Point2>& vPoints)
{
	AcceptedPoints accepted(vPoints, "Mirel_2D::measureTriangulationTime(..)");
	if(accepted.allAccepted()) return pImpl->measureTriangulationTime(vPoints);
	std::vector<Point2> vKept(accepted.points());
	return pImpl->measureTriangulationTime(vKept);
}

size_t Mirel_2D::numberOfPoints() const
{
	return pImpl->numberOfPoints();
}

size_t Mirel_2D::numberOfTriangles() const
{
	return pImpl->numberOfTriangles();
}

bool Mirel_2D::hasArea() const
{
	return pImpl->hasArea();
}

bool Mirel_2D::is2D() const
{
	return pImpl->is2D();
}

Bbox2 Mirel_2D::computeBoundingBox() const
{
	return pImpl->computeBoundingBox();
}

Orientation2 Mirel_2D::getOrientation(const Point2& p0, const Point2& p1, const Point2& p2)
{
	return getOrientation2_mt(&p0, &p1, &p2);
}

void Mirel_2D::setName(const char* name)
{
	pImpl->setName(name);
}

const char* Mirel_2D::getName() const
{
	return pImpl->getName();
}

void Mirel_2D::setFastMode(bool bFast)
{
	pImpl->setFastMode(bFast);
}

int Mirel_2D::setNumCPU(int numCPU)
{
	return pImpl->setNumCPU(numCPU);
}

void Mirel_2D::enableMultithreading()
{
	pImpl->setNumCPU(0);
}

void Mirel_2D::subscribe(MsgType msgType, MsgBase* pListener)
{
	pImpl->subscribe(msgType, pListener);
}

void Mirel_2D::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	pImpl->unsubscribe(msgType, pListener);
}

Dt2* Mirel_2D::getImpl()
{
	return pImpl;
}


// ---- Queries and removal ----

Triangle2* Mirel_2D::locate(const Point2& p)
{
	if(!InputCheck::acceptOne("Mirel_2D::locate(..)", "point", InputCheck::TRIANGULATION, p)) return nullptr;
	return pImpl->locate(p);
}

Triangle2* Mirel_2D::getAdjacentTriangle(Point2* p0, Point2* p1)
{
	return pImpl->getAdjacentTriangle(p0, p1);
}

void Mirel_2D::getIncidentTriangles(Point2* v, std::vector<Triangle2*>& vIncidentT)
{
	pImpl->getIncidentTriangles(v, vIncidentT);
}

void Mirel_2D::getIncidentVertices(Point2* v, std::vector<Point2*>& vIncidentVtx)
{
	pImpl->getIncidentVertices(v, vIncidentVtx);
}

void Mirel_2D::getConvexHull(bool bAllVertices, std::vector<Point2*>& vHullVtx)
{
	pImpl->getConvexHull(bAllVertices, vHullVtx);
}

void Mirel_2D::getTrianglePointers(std::vector<Triangle2*>& vAllTriangles)
{
	pImpl->getTrianglePointers(vAllTriangles);
}

void Mirel_2D::getVertexPointers(std::vector<Point2*>& vAllVertices)
{
	pImpl->getVertexPointers(vAllVertices);
}

bool Mirel_2D::checkValidity(bool bCheckEmptyCircles, const char* name)
{
	return pImpl->checkValidity(bCheckEmptyCircles, name);
}

void Mirel_2D::statistics(const char* name)
{
	pImpl->statistics(name);
}

void Mirel_2D::remove(Point2* pVtx)
{
	pImpl->remove(pVtx);
}

ConstraintGraph2* Mirel_2D::createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments)
{
	InputCheck check("Mirel_2D::createConstraint(..)", "segment", InputCheck::TRIANGULATION);
	std::vector<Segment2> vKept;
	vKept.reserve(vSegments.size());
	for(const Segment2& seg : vSegments)
	{
		if(check.accept(seg)) vKept.push_back(seg);
	}
	if(check.report(vSegments.size()) == 0) return pImpl->createConstraint(vSegments, cis, orientedSegments);
	if(vKept.empty()) return nullptr; // the warning above said why
	return pImpl->createConstraint(vKept, cis, orientedSegments);
}

ConstraintSegment2* Mirel_2D::getConstraintSegment(Point2* p0, Point2* p1) const
{
	return pImpl->getConstraintSegment(p0, p1);
}

void Mirel_2D::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const
{
	pImpl->getAliveConstraintSegments(vAliveConstraintSegments);
}

void Mirel_2D::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const
{
	pImpl->getAliveAndDeadConstraintSegments(vAllConstraintSegments);
}

bool Mirel_2D::isConstraint(Point2* p0, Point2* p1) const
{
	return pImpl->isConstraint(p0, p1);
}

bool Mirel_2D::isConstraint(Point2* p) const
{
	return pImpl->isConstraint(p);
}

bool Mirel_2D::isConstraint(Triangle2* pT, int ith) const
{
	return pImpl->isConstraint(pT, ith);
}

void Mirel_2D::applyConstraintsAndZones()
{
	pImpl->applyConstraintsAndZones();
}

// ---- Export and drawing ----

void Mirel_2D::exportTriangulation(MirelExport& mirelExport, bool withCustomIndices, bool clearAfterExport)
{
	pImpl->exportTriangulationArray(mirelExport, withCustomIndices, clearAfterExport);
	if(!clearAfterExport) return;
	// The released triangulation gives way to an empty one with the same settings.
	unsigned numExpectedVertices(pImpl->getNumExpectedVertices());
	int numCPU(pImpl->getNumCPU());
	bool bFastMode(pImpl->isFastMode());
	delete pImpl;
	pImpl = new(std::nothrow) Dt2(numExpectedVertices);
	if(pImpl == nullptr) return;
	pImpl->setNumCPU(numCPU);
	pImpl->setFastMode(bFastMode);
}

void Mirel_2D::show(const char* postscriptFilename, bool bWithConstraints)
{
	pImpl->show(postscriptFilename, bWithConstraints);
}

void Mirel_2D::show(Visualizer2* pVis, bool bWithConstraints)
{
	pImpl->show(pVis, bWithConstraints);
}

// ---- 3D scenes ----
void Mirel_2D::showGeomview(const char* filename, const char* color)
{
	pImpl->showGeomview(filename, color);
}

void Mirel_2D::showGeomview(Visualizer3* pVis, const char* color)
{
	pImpl->showGeomview(pVis, color);
}

void Mirel_2D::writeObj(const char* filename)
{
	pImpl->writeObj(filename, nullptr);
}

void Mirel_2D::writeObj(const char* filename, Zone2* pZone)
{
	pImpl->writeObj(filename, pZone);
}

void Mirel_2D::writeWebScene(const char* path)
{
	pImpl->writeWebScene(path, nullptr);
}

void Mirel_2D::writeWebScene(const char* path, Zone2* pZone)
{
	pImpl->writeWebScene(path, pZone);
}

// ---- Terrain: heights and draping ----
bool Mirel_2D::getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const
{
	return pImpl->getHeight(x, y, height, pApproxT, tolerance);
}

size_t Mirel_2D::getHeights(std::vector<Point2>& vPoints, std::vector<bool>& vHasHeight, double tolerance) const
{
	return pImpl->getHeights(vPoints, vHasHeight, tolerance);
}

bool Mirel_2D::drape(std::vector<Segment2>& vSegmentsIn, std::vector<Segment2>& vSegmentsOut, double zTolerance) const
{
	return pImpl->drape(vSegmentsIn, vSegmentsOut, zTolerance);
}

Zone2* Mirel_2D::reportNoZone(Zone2* pZone, bool bVerbose)
{
	if(pZone == nullptr && bVerbose) sendWarning("Mirel_2D::createZone(..)", "No zone created, returning NULL (bVerbose==true)");
	return pZone;
}

Zone2* Mirel_2D::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, bool bVerbose)
{
	return reportNoZone(pImpl->createZone(pConstraintGraph, zoneLoc, bVerbose), bVerbose);
}

Zone2* Mirel_2D::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, bool bVerbose)
{
	return reportNoZone(pImpl->createZone(vConstraintGraphs, zoneLoc, bVerbose), bVerbose);
}

bool Mirel_2D::acceptZoneSeed(const Point2& startPoint)
{
	return InputCheck::acceptOne("Mirel_2D::createZone(..)", "start point", InputCheck::TRIANGULATION, startPoint);
}

Zone2* Mirel_2D::createZone(ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose)
{
	if(!acceptZoneSeed(startPoint)) return nullptr;
	return reportNoZone(pImpl->createZone(pConstraintGraph, zoneLoc, startPoint, bVerbose), bVerbose);
}

Zone2* Mirel_2D::createZone(const std::vector<ConstraintGraph2*>& vConstraintGraphs, ZoneLocation zoneLoc, const Point2& startPoint, bool bVerbose)
{
	if(!acceptZoneSeed(startPoint)) return nullptr;
	return reportNoZone(pImpl->createZone(vConstraintGraphs, zoneLoc, startPoint, bVerbose), bVerbose);
}

Zone2* Mirel_2D::createZone(std::vector<Triangle2*>& vTriangles, bool bVerbose)
{
	return reportNoZone(pImpl->createZone(vTriangles, bVerbose), bVerbose);
}

Zone2* Mirel_2D::createZone_cookieCutter(std::vector<Segment2>& vSegments, bool bVerbose)
{
	// Without the refused segments the polygon would not be closed: nothing is cut.
	InputCheck check("Mirel_2D::createZone_cookieCutter(..)", "segment", InputCheck::TRIANGULATION);
	for(const Segment2& seg : vSegments) check.accept(seg);
	if(check.report(vSegments.size()) > 0) return nullptr;
	return reportNoZone(pImpl->createZone_cookieCutter(vSegments, bVerbose), bVerbose);
}

void Mirel_2D::deleteZone(Zone2* pZone)
{
	pImpl->deleteZone(pZone);
}

// ---- Quality mesh generation ----

void Mirel_2D::refine(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength, bool bAllowConstraintSplitting)
{
	if(pZone == nullptr)
	{
		{
			std::ostringstream rawText;
			rawText << "\nWarning: Mirel_2D::refine(..) has been called with pZone==NULL\n\n";
			sendRawErrorText(rawText.str());
		}
		return;
	}
	if(minAngleDegree > 30)
	{
		{
			std::ostringstream rawText;
			rawText << "\nWarning: Mirel_2D::refine(..), minAngleDegree can't be >30\n\n";
			sendRawErrorText(rawText.str());
		}
		return;
	}
	MyLocalParams params(pZone);
	params.minAngleDegree = minAngleDegree;
	params.minEdgeLength = minEdgeLength;
	params.maxEdgeLength = maxEdgeLength;
	params.bAllowConstraintSplitting = bAllowConstraintSplitting;
	pImpl->refineMain3(&params);
}

void Mirel_2D::refineAdvanced(MeshGenParams* pParameters)
{
	pImpl->refineMain3(pParameters);
}

} // namespace MIREL25D
