// The zone's 3D scenes: Geomview files and OBJ meshes of its triangles.
#include "Dt2.h"
#include "MeshFiles.h"
#include "Visualizer3.h"
#include "Zone2.h"
#include "tools.h"

namespace MIREL25D {

void Zone2::showGeomview(const char* filename, const char* color) const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	if(vT.empty())
	{
		sendWarning("Zone2::showGeomview()", "The zone has no triangles, no visualization");
		return;
	}
	Visualizer3 vis(filename);
	vis.writeTriangles(vT, color, false);
	vis.closeFile();
}

void Zone2::showGeomview(Visualizer3* pVisualizer, const char* color) const
{
	if(pVisualizer == nullptr)
	{
		sendWarning("Zone2::showGeomview()", "pVisualizer==NULL, nothing written");
		return;
	}
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	if(!vT.empty()) pVisualizer->writeTriangles(vT, color, false);
}

void Zone2::writeObj(const char* filename) const
{
	const char* place("Zone2::writeObj()");
	if(filename == nullptr)
	{
		sendError(place, "File [NULL] can't be opened");
		return;
	}
	std::vector<Triangle2*> vT;
	// An empty triangulation has been reported by getTriangles; no file then.
	getTriangles(vT);
	if(vT.empty() && !pDt2->hasArea()) return;
	writeObjFile(vT, filename, place);
}

} // namespace MIREL25D
