#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <cstddef>
#include <vector>

namespace MIREL25D {

class GeomTest;

// An axis-aligned box in the xy-plane. A box constructed with a predicate
// object tells it the new coordinate range whenever the box grows by
// doubleTheBox or enlargeRanges, so that the predicates' error bounds always
// cover the box; plain add calls do not, which keeps them cheap.
class MIREL_API Bbox2
{
public:
	explicit Bbox2(GeomTest* pGeomTest_ = nullptr);

	// Return true iff a bound changed; the first point only makes the box valid.
	bool add(const Point2& p);
	bool add(size_t numPoints, double* coordinates); // x, y, z triples, z ignored
	template<typename Iterator> bool add(Iterator begin, Iterator end)
	{
		bool bChanged(false);
		for(; begin != end; ++begin)
		{
			if(add(asPoint(*begin))) bChanged = true;
		}
		return bChanged;
	}

	// Merges other into this box (the left operand changes) and returns a copy.
	Bbox2 operator+(const Bbox2& other);

	bool isInBox(const Point2& p) const;
	bool doIntersect(const Bbox2& other) const;
	Point2 computeCenter() const;
	bool isValid() const;

	Point2 getMinPoint() const;
	Point2 getMaxPoint() const;
	// Counterclockwise from (minX, minY).
	void getCorners(std::vector<Point2>& vCorners) const;
	void getOffsetCorners(double offset, std::vector<Point2>& vCorners) const;

	double getRangeX() const { return maxX - minX; }
	double getRangeY() const { return maxY - minY; }
	double getMaxRange() const;
	double getMinCoord() const;
	double getMaxCoord() const;
	void getBounds(double& minX_, double& minY_, double& maxX_, double& maxY_) const;
	double get_minX() const { return minX; }
	double get_minY() const { return minY; }
	double get_maxX() const { return maxX; }
	double get_maxY() const { return maxY; }
	void setMinX(double val) { minX = val; }
	void setMinY(double val) { minY = val; }
	void setMaxX(double val) { maxX = val; }
	void setMaxY(double val) { maxY = val; }

	void doubleTheBox();
	void enlargeRanges(double factor);
	// Only the max side moves.
	void inflateIfDegenerate(double val);

private:
	static const Point2& asPoint(const Point2& p) { return p; }
	static const Point2& asPoint(const Point2* p) { return *p; }
	bool addXY(double x, double y);
	void growAboutCenter(double factor);
	void reportRangeToGeomTest();

	double minX, minY, maxX, maxY;
	bool bValid;
	GeomTest* pGeomTest;
};

} // namespace MIREL25D
