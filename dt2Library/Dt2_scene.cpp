// The triangulation's 3D scenes: Geomview files, OBJ meshes and the browser scene.
#include "Dt2.h"
#include "MeshFiles.h"
#include "Visualizer3.h"
#include "tools.h"
#include <algorithm>
#include <string>

namespace MIREL25D {

namespace {
const char* const NO_AREA_PLACE("Dt2::show()");
const char* const NO_AREA_TEXT("The triangulation has no area yet, no visualization");
} // namespace

void Dt2::showGeomview(Visualizer3* pVis, const char* color)
{
	if(pVis == nullptr)
	{
		sendWarning("Dt2::showGeomview()", "pVis==NULL, nothing written");
		return;
	}
	if(!hasArea())
	{
		sendWarning(NO_AREA_PLACE, NO_AREA_TEXT);
		return;
	}
	std::vector<Triangle2*> vT;
	getTrianglePointers(vT);
	pVis->writeTriangles(vT, color, false);
}

void Dt2::showGeomview(const char* filename, const char* color)
{
	if(!hasArea())
	{
		sendWarning(NO_AREA_PLACE, NO_AREA_TEXT);
		return;
	}
	Visualizer3 vis(filename);
	showGeomview(&vis, color);
	vis.closeFile();
}

namespace {

// The triangles a mesh writer writes: those of pZone, or of the whole
// triangulation for a null zone. False, with the message, where nothing may
// be written (no target name, a foreign zone, no area yet).
bool gatherTrianglesToWrite(const Dt2& dt, const std::vector<Zone2*>& vZones, const char* target, const char* targetName, Zone2* pZone,
	const char* place, std::vector<Triangle2*>& vT)
{
	if(target == nullptr)
	{
		sendError(place, std::string(targetName) + "==NULL, nothing written");
		return false;
	}
	if(pZone != nullptr && std::find(vZones.begin(), vZones.end(), pZone) == vZones.end())
	{
		sendError(place, "the zone is not one of this triangulation, nothing written");
		return false;
	}
	// Checked before anything is written: a scene without a mesh would be half a scene.
	if(!dt.hasArea())
	{
		sendWarning(NO_AREA_PLACE, NO_AREA_TEXT);
		return false;
	}
	if(pZone != nullptr) pZone->getTriangles(vT);
	else dt.getTrianglePointers(vT);
	return true;
}

} // namespace

void Dt2::writeObj(const char* filename, Zone2* pZone)
{
	const char* place("Dt2::writeObj()");
	std::vector<Triangle2*> vT;
	if(gatherTrianglesToWrite(*this, vZones, filename, "filename", pZone, place, vT)) writeObjFile(vT, filename, place);
}

void Dt2::writeWebScene(const char* path, Zone2* pZone)
{
	const char* place("Dt2::writeWebScene()");
	std::vector<Triangle2*> vT;
	if(gatherTrianglesToWrite(*this, vZones, path, "path", pZone, place, vT)) writeWebSceneDirectory(vT, path, place);
}

} // namespace MIREL25D
