#include "Mirel_2D.h"
#include "Dt2.h"
#include <new>

namespace MIREL25D {

Mirel_2D::Mirel_2D(unsigned int numExpectedVertices) : pImpl(new(std::nothrow) Dt2(numExpectedVertices)) {}

Mirel_2D::~Mirel_2D()
{
	delete pImpl;
}

Point2* Mirel_2D::insert(const Point2& p)
{
	return pImpl->insert(p);
}

void Mirel_2D::insert(const std::vector<Point2>& vInputPoints)
{
	pImpl->insertVector(vInputPoints);
}

void Mirel_2D::insert(const std::vector<Point2>& vInputPoints, std::vector<Point2*>& vHandles)
{
	pImpl->insertVector(vInputPoints, vHandles);
}

void Mirel_2D::insert(int numPoints, double* aCoordinates, Point2** aHandles)
{
	pImpl->insert(numPoints, aCoordinates, aHandles);
}

double Mirel_2D::measureTriangulationTime(std::vector<Point2>& vPoints)
{
	return pImpl->measureTriangulationTime(vPoints);
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

} // namespace MIREL25D
