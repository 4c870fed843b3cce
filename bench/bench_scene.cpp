// Writing the 3D scenes of a terrain of about a million triangles: the OBJ
// mesh, the Geomview LIST file and the browser scene directory. The last
// browser scene stays in "bench_web_scene" for scripts/measure_first_frame.sh,
// which opens it in a browser and reports the time to its first frame.
#include "Mirel25D.h"
#include <benchmark/benchmark.h>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>

namespace {
using namespace MIREL25D;

// A survey-like terrain: eastings near 5e5, northings near 5e6.
Mirel_2D& terrain(size_t side)
{
	static std::map<size_t, std::unique_ptr<Mirel_2D>> mTerrains;
	std::unique_ptr<Mirel_2D>& pDt(mTerrains[side]);
	if(!pDt)
	{
		std::vector<Point2> vPoints;
		generateRandomSurfacePoints(side, side, 25, 512000.0, 5412000.0, 310.0, 517000.0, 5417000.0, 780.0, vPoints, 3);
		pDt.reset(new Mirel_2D(static_cast<unsigned>(vPoints.size())));
		pDt->insert(vPoints);
	}
	return *pDt;
}

// Messages of the writers go to a buffer, not between the benchmark lines.
template<class F> void quietly(F f)
{
	std::ostringstream sink;
	std::streambuf* pOld(std::cout.rdbuf(sink.rdbuf()));
	f();
	std::cout.rdbuf(pOld);
}

void BM_WriteObj(benchmark::State& state)
{
	Mirel_2D& dt(terrain(size_t(state.range(0))));
	for(auto _ : state) quietly([&] { dt.writeObj("bench_scene.obj"); });
	state.counters["triangles"] = double(dt.numberOfTriangles());
}

void BM_ShowGeomview(benchmark::State& state)
{
	Mirel_2D& dt(terrain(size_t(state.range(0))));
	for(auto _ : state) quietly([&] { dt.showGeomview("bench_scene.list", Visualizer3::CLIGHTBLUE); });
	state.counters["triangles"] = double(dt.numberOfTriangles());
}

void BM_WriteWebScene(benchmark::State& state)
{
	Mirel_2D& dt(terrain(size_t(state.range(0))));
	for(auto _ : state) quietly([&] { dt.writeWebScene("bench_web_scene"); });
	state.counters["triangles"] = double(dt.numberOfTriangles());
}

// 100 x 100 and 708 x 708 grid points: about 20 thousand and one million triangles.
BENCHMARK(BM_WriteObj)->Arg(100)->Arg(708)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ShowGeomview)->Arg(100)->Arg(708)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_WriteWebScene)->Arg(100)->Arg(708)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
