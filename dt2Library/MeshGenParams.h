#pragma once
#include "MirelExportMacro.h"
#include "Vector2.h"
#include <memory>
#include <set>

namespace MIREL25D {

class ConstraintSegment2;
class Mirel_2D;
class Triangle2;
class Zone2;

// The parameters of quality mesh generation in one zone. Derive from it to
// make the size bounds depend on the triangle: refinement asks
// getMaxTriangleArea and getMaxEdgeLength once for every triangle it examines.
class MIREL_API MeshGenParams
{
public:
	explicit MeshGenParams(Zone2* pZone_);
	MeshGenParams(const MeshGenParams& other);
	MeshGenParams& operator=(const MeshGenParams& other);
	virtual ~MeshGenParams();

	virtual double getMaxTriangleArea(Triangle2* pT);
	virtual double getMaxEdgeLength(Triangle2* pT);

	// Refinement never splits this constraint segment.
	void addLockedConstraint(ConstraintSegment2* pConstraintSegment);
	bool isLocked(ConstraintSegment2* pConstraintSegment) const;

	Mirel_2D* pHeightGuide;     // heights of inserted points come from this triangulation when set
	double reservedBound;       // carried and copied, read by nothing
	Zone2* pZone;               // the zone to mesh
	double minAngleDegree;      // at most 30
	double minEdgeLength;       // constraint edges shorter than twice this are never split
	double maxEdgeLength;       // largest 2.5D edge length
	double maxTriangleArea;     // largest 2.5D triangle area
	bool bAllowConstraintSplitting;
	double growFactor;          // largest area ratio to a neighbour (largest double: off)
	double growFactorMinArea;   // smaller neighbours are ignored by the grow test
	double reservedFactor;      // carried and copied, read by nothing
	Vector2 gridVector;         // direction of the grid lines of grid pre-meshing
	double gridLength;          // grid spacing, 0: no grid
	bool bResetSplitRecord;     // forget the vertices that earlier runs put on constraints
	int verbosity;              // 1: debug output of every refinement decision
	// Copies share one locked set; the last copy to go deletes it.
	std::shared_ptr<std::set<ConstraintSegment2*>> pLockedConstraints;
};

// The record that Mirel_2D::refine fills from its arguments.
class MIREL_API MyLocalParams : public MeshGenParams
{
public:
	explicit MyLocalParams(Zone2* pZone_) : MeshGenParams(pZone_) {}
	~MyLocalParams() override;
};

} // namespace MIREL25D
