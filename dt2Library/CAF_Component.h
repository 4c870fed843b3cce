#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include "Segment2.h"
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace MIREL25D {

class Triangle2;

// What happens to the ground over a component: the surface before lies
// above the surface after (material is removed: cut), below it (fill), or
// both agree (null).
enum CAFTYP : int
{
	CT_NULL = 0,
	CT_CUT = 1,
	CT_FILL = 2
};

// One connected part of a cut-and-fill result: triangles of the combined
// surface that all lie on one side of the zero line, with their volume.
class MIREL_API CAF_Component
{
public:
	// The triangles and, for each of their corners, the heights (before,
	// after). Every corner must be in the map.
	CAF_Component(const std::vector<Triangle2*>& vTriangles_, const std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter, CAFTYP cafType_,
		int label_);

	// The volume between the two surfaces over the component, positive for
	// cut and for fill, 0 for a null component.
	double getVolume() const { return volume; }
	CAFTYP getCAFType() const { return cafType; }
	int getLabel() const { return label; }
	void getTriangles(std::vector<Triangle2*>& vTrianglesOut) const;
	// The edges of the component's triangles whose neighbour is missing or
	// belongs to another component, the component to their left; the z of
	// each end point is its height difference (before minus after).
	void getBorder(std::vector<Segment2>& vBorderOut) const;
	// Writes the component's triangles as the Geomview file baseName
	// followed by "_null.list", "_cut.list" or "_fill.list", red, green or
	// blue by its type; false, with a message, when nothing was written.
	bool showGeomview(const std::string& baseName) const;

private:
	void setVolume(const std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter);
	void setBorder();

	std::vector<Triangle2*> vTriangles;
	CAFTYP cafType;
	int label;
	double volume;
	std::vector<Segment2> vBorder;
};

} // namespace MIREL25D
