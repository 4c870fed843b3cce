// Cost of the zone surface operations on a global zone over n random points
// of a rolling terrain with measurement noise: smoothing (10 iterations), the
// three data-dependent flip modes, the thresholded valley/ridge optimisation
// and grid unification of a jittered grid. Every run gets a fresh terrain
// (built outside the timing); "time_per_vertex" is the figure to compare
// across sizes (it should stay flat: no operation is superlinear in practice).
#include "Mirel_2D.h"
#include "Zone2.h"
#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

using namespace MIREL25D;

namespace {

enum SurfaceOp
{
	OP_SMOOTHING,
	OP_FAST,
	OP_BEST_FIRST,
	OP_LOOKAHEAD,
	OP_THRESHOLDS,
	OP_UNIFY_GRID
};

std::vector<Point2> makeTerrain(size_t n, bool bJitteredGrid)
{
	std::mt19937 rng(17);
	std::uniform_real_distribution<double> coord(0.0, 1000.0), noise(-0.2, 0.2), jitter(-1e-4, 1e-4);
	std::vector<Point2> v;
	size_t side(size_t(std::sqrt(double(n))));
	for(size_t k = 0; k < n; ++k)
	{
		double x(bJitteredGrid ? 1000.0 * double(k % side) / double(side) + jitter(rng) : coord(rng));
		double y(bJitteredGrid ? 1000.0 * double(k / side) / double(side) + jitter(rng) : coord(rng));
		v.push_back(Point2(x, y, 10.0 * std::sin(x / 50.0) * std::cos(y / 70.0) + noise(rng)));
	}
	return v;
}

void BM_ZoneSurface(benchmark::State& state)
{
	size_t n(size_t(state.range(0)));
	SurfaceOp op(SurfaceOp(state.range(1)));
	std::vector<Point2> vPoints(makeTerrain(n, op == OP_UNIFY_GRID));
	for(auto _ : state)
	{
		state.PauseTiming();
		std::unique_ptr<Mirel_2D> pDt(new Mirel_2D(unsigned(n)));
		pDt->insert(vPoints);
		Zone2* pZone(pDt->createZone(nullptr, ZL_GLOBAL, false));
		state.ResumeTiming();
		bool bOk(false);
		switch(op)
		{
			case OP_SMOOTHING: bOk = pZone->smoothing(10); break;
			case OP_FAST: bOk = pZone->slopeValleyRidgeOptimization(OM_FAST); break;
			case OP_BEST_FIRST: bOk = pZone->slopeValleyRidgeOptimization(OM_BEST_FIRST); break;
			case OP_LOOKAHEAD: bOk = pZone->slopeValleyRidgeOptimization(OM_LOOKAHEAD); break;
			case OP_THRESHOLDS: bOk = pZone->optimizeValleysAndRidges(10.0, 10.0); break;
			case OP_UNIFY_GRID: bOk = pZone->unifyGrid(1e-3); break;
		}
		benchmark::DoNotOptimize(bOk);
		state.PauseTiming();
		pDt.reset();
		state.ResumeTiming();
	}
	state.counters["time_per_vertex"] = benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(BM_ZoneSurface)
	->ArgsProduct({{10000, 100000, 1000000}, {OP_SMOOTHING, OP_FAST, OP_BEST_FIRST, OP_LOOKAHEAD, OP_THRESHOLDS, OP_UNIFY_GRID}})
	->ArgNames({"n", "op"})
	->Unit(benchmark::kMillisecond)
	->Iterations(1);

BENCHMARK_MAIN();
