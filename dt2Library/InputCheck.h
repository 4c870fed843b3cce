#pragma once
#include "Point2.h"
#include "Segment2.h"
#include <cstddef>
#include <string>
#include <vector>

namespace MIREL25D {

// The largest |x| and |y| that the triangulation accepts. Within it every box,
// fake box and constructed point stays finite, so the exact stages always see
// finite doubles; the double filters may overflow there, and then the exact
// stages decide. Small magnitudes have no lower limit: subnormal spreads are
// decided exactly as well.
const double MAX_ACCEPTED_COORDINATE(1e300);

// What a caller passes in, checked before it reaches the triangulation: points
// with a NaN or infinite coordinate (x, y or z) are refused everywhere; where
// the rule is TRIANGULATION, points with |x| or |y| above
// MAX_ACCEPTED_COORDINATE are refused as well. One call counts its refusals
// and reports them in one warning.
class InputCheck
{
public:
	enum Rule
	{
		FINITE,
		TRIANGULATION
	};
	// place: the entry point named in the warning; noun: what is counted ("point", "segment").
	InputCheck(const char* place, const char* noun, Rule rule);

	bool accept(double x, double y, double z);
	bool accept(const Point2& p) { return accept(p.x(), p.y(), p.z()); }
	bool accept(const Segment2& seg);
	size_t numRefused() const { return numNonFinite + numOutOfRange; }

	// One warning if anything of the numChecked items was refused; returns numRefused().
	size_t report(size_t numChecked) const;
	// The text of that warning.
	std::string describe(size_t numChecked) const;
	// A single point or segment, checked and, if refused, reported at once.
	template<class Item>
	static bool acceptOne(const char* place, const char* noun, Rule rule, const Item& item)
	{
		InputCheck check(place, noun, rule);
		if(check.accept(item)) return true;
		check.report(1);
		return false;
	}

private:
	const char* place;
	const char* noun;
	Rule rule;
	size_t numNonFinite;
	size_t numOutOfRange;
};

// The accepted points of vPoints (all of them in the common case, without a
// copy) and, after a refusal, their positions in vPoints.
class AcceptedPoints
{
public:
	// Checks under the TRIANGULATION rule and reports any refusal from place.
	AcceptedPoints(const std::vector<Point2>& vPoints, const char* place);
	bool allAccepted() const { return bAllAccepted; }
	const std::vector<Point2>& points() const { return bAllAccepted ? vPointsIn : vKept; }
	// Handles of the accepted points spread back to the input positions; refused ones get null.
	void spreadHandles(const std::vector<Point2*>& vKeptHandles, std::vector<Point2*>& vHandles) const;

private:
	const std::vector<Point2>& vPointsIn;
	std::vector<Point2> vKept;
	std::vector<size_t> vKeptIndex;
	bool bAllAccepted;
};

} // namespace MIREL25D
