// The noise beside stb_perlin (three dimensions, the only ones it has): random points within one period, and
// a walk along a line in steps of 0.01, as a texture is filled.

#include "vl/math_types.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_PERLIN_IMPLEMENTATION
#include <stb/stb_perlin.h>
#pragma GCC diagnostic pop

namespace {

using Vector2 = M_Vector2Template<float>;
using Vector3 = M_Vector3Template<float>;

constexpr int pointCount = 4096;

const M_MathInit mathInit;

enum class Points { Random, Line };

std::vector<Vector3> makePoints(Points kind) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> coordinate(0.0f, 256.0f);
    std::vector<Vector3> points;
    for (int i = 0; i < pointCount; ++i) {
        points.push_back(kind == Points::Line
                             ? Vector3{static_cast<float>(i) * 0.01f, 17.3f, 4.7f}
                             : Vector3{coordinate(random), coordinate(random), coordinate(random)});
    }
    return points;
}

template <class Noise>
void sample(benchmark::State &state, Points kind, Noise noise) {
    const std::vector<Vector3> points = makePoints(kind);
    for (auto _ : state) {
        float sum = 0.0f;
        for (const Vector3 &point : points)
            sum += noise(point);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * pointCount);
}

const auto vl3 = [](const Vector3 &p) { return M_snoise(p); };
const auto vl2 = [](const Vector3 &p) { return M_snoise(Vector2{p.x, p.y}); };
const auto vl1 = [](const Vector3 &p) { return M_snoise(p.x); };
const auto stb3 = [](const Vector3 &p) { return stb_perlin_noise3(p.x, p.y, p.z, 0, 0, 0); };
const auto turbulence = [](const Vector3 &p) { return M_turbulence(p, 8.0f); };
const auto stbTurbulence = [](const Vector3 &p) {
    return stb_perlin_turbulence_noise3(p.x, p.y, p.z, 2, 0.5f, 4);
};

BENCHMARK_CAPTURE(sample, vl, Points::Random, vl3)->Name("Noise/3D/random/vl");
BENCHMARK_CAPTURE(sample, stb, Points::Random, stb3)->Name("Noise/3D/random/stb_perlin");
BENCHMARK_CAPTURE(sample, vl, Points::Line, vl3)->Name("Noise/3D/line/vl");
BENCHMARK_CAPTURE(sample, stb, Points::Line, stb3)->Name("Noise/3D/line/stb_perlin");
BENCHMARK_CAPTURE(sample, vl, Points::Random, turbulence)->Name("Noise/turbulence 4 octaves/random/vl");
BENCHMARK_CAPTURE(sample, stb, Points::Random, stbTurbulence)
    ->Name("Noise/turbulence 4 octaves/random/stb_perlin");
BENCHMARK_CAPTURE(sample, vl, Points::Random, vl2)->Name("Noise/2D/random/vl");
BENCHMARK_CAPTURE(sample, vl, Points::Line, vl2)->Name("Noise/2D/line/vl");
BENCHMARK_CAPTURE(sample, vl, Points::Random, vl1)->Name("Noise/1D/random/vl");
BENCHMARK_CAPTURE(sample, vl, Points::Line, vl1)->Name("Noise/1D/line/vl");

} // namespace

BENCHMARK_MAIN();
