// A million CAD identifiers hashed, compared and looked up, against std::unordered_map with the
// same hash; a million targets stored and read back by file and by archive, against one fwrite and
// fread of as many bytes; 10^5 points aligned on an outline of 10^3 edges.
#include "scratch_file.h"
#include "velm/frame/point_functions.h"
#include "velm/measure/alignment.h"
#include "velm/measure/cad_containers.h"
#include "velm/measure/target_point.h"
#include "velm/platform/archive.h"
#include "velm/transforms/transformed_values.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::size_t million = 1'000'000;

// Eight to a solid, a thousand solids to a group, all with one name space.
std::vector<CADObjectID> sample_ids() {
    std::vector<CADObjectID> ids;
    ids.reserve(million);
    const gmIDNameSpace space(gmNSTypeName, "assembly");
    for (unsigned long n = 0; n < million; ++n) {
        const std::string path =
            "group " + std::to_string(n / 8000) + "/solid " + std::to_string(n / 8 % 1000);
        ids.emplace_back(n, utString(path), utString("face"), n % 8);
        ids.back().set_name_space(space);
    }
    return ids;
}
const std::vector<CADObjectID>& shared_ids() {
    static const std::vector<CADObjectID> ids = [] {
        std::vector<CADObjectID> made = sample_ids();
        for (const CADObjectID& id : made)
            id.container_hash();
        return made;
    }();
    return ids;
}

void items(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(million));
}

// Fresh ones each time, since a hash is kept; only the hashing is timed.
void HashIds(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        const std::vector<CADObjectID> fresh = sample_ids();
        const Clock::time_point start = Clock::now();
        DWORD sum = 0;
        for (const CADObjectID& id : fresh)
            sum += id.container_hash();
        benchmark::DoNotOptimize(sum);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    items(state);
}
BENCHMARK(HashIds)->Unit(benchmark::kMillisecond)->UseManualTime();

// Each with its equal copy, so that all parts are read.
void CompareIds(benchmark::State& state) {
    const std::vector<CADObjectID> copies = sample_ids();
    for (auto _ : state) {
        std::size_t equal = 0;
        for (std::size_t n = 0; n < million; ++n)
            if (shared_ids()[n] == copies[n]) ++equal;
        if (equal != million) std::abort();
    }
    items(state);
}
BENCHMARK(CompareIds)->Unit(benchmark::kMillisecond);

struct Hash {
    std::size_t operator()(const CADObjectID& id) const { return id.container_hash(); }
};

void LookUp_coTable(benchmark::State& state) {
    coTable<CADObjectID, int> table;
    for (const CADObjectID& id : shared_ids())
        table[id] = 1;
    for (auto _ : state) {
        int sum = 0;
        for (const CADObjectID& id : shared_ids())
            sum += table.read(id);
        benchmark::DoNotOptimize(sum);
    }
    items(state);
}
BENCHMARK(LookUp_coTable)->Unit(benchmark::kMillisecond);

void LookUp_unordered_map(benchmark::State& state) {
    std::unordered_map<CADObjectID, int, Hash> table;
    for (const CADObjectID& id : shared_ids())
        table[id] = 1;
    for (auto _ : state) {
        int sum = 0;
        for (const CADObjectID& id : shared_ids())
            sum += table.find(id)->second;
        benchmark::DoNotOptimize(sum);
    }
    items(state);
}
BENCHMARK(LookUp_unordered_map)->Unit(benchmark::kMillisecond);

void Fill_coTable(benchmark::State& state) {
    for (auto _ : state) {
        coTable<CADObjectID, int> table;
        for (const CADObjectID& id : shared_ids())
            table[id] = 1;
        benchmark::DoNotOptimize(table.size());
    }
    items(state);
}
BENCHMARK(Fill_coTable)->Unit(benchmark::kMillisecond);

void Fill_unordered_map(benchmark::State& state) {
    for (auto _ : state) {
        std::unordered_map<CADObjectID, int, Hash> table;
        for (const CADObjectID& id : shared_ids())
            table[id] = 1;
        benchmark::DoNotOptimize(table.size());
    }
    items(state);
}
BENCHMARK(Fill_unordered_map)->Unit(benchmark::kMillisecond);

const gmTargetPoint sample_target(ERPoint3D(1, 2, 3),
                                  ERCMMPointWithDiameter(1, 2, 4, 0, 0, 5, 2, 77),
                                  ERVector3D(0, 0, 1));

// One call of the file for each target: the record of a store.
void Targets_ERFile(benchmark::State& state) {
    const ScratchFile scratch;
    ERFile file(scratch.name(), CFile::modeCreate | CFile::modeReadWrite);
    gmTargetPoint back;
    for (auto _ : state) {
        file.SeekToBegin();
        for (std::size_t n = 0; n < million; ++n)
            sample_target.saveGuts(file);
        file.SeekToBegin();
        for (std::size_t n = 0; n < million; ++n)
            back.restoreGuts(file);
    }
    items(state);
}
BENCHMARK(Targets_ERFile)->Unit(benchmark::kMillisecond);

void Targets_CArchive(benchmark::State& state) {
    const ScratchFile scratch;
    CFile file(scratch.name(), CFile::modeCreate | CFile::modeReadWrite);
    gmTargetPoint back;
    for (auto _ : state) {
        file.SeekToBegin();
        CArchive out(&file, CArchive::store, 1 << 16);
        for (std::size_t n = 0; n < million; ++n)
            out << sample_target;
        out.Close();
        file.SeekToBegin();
        CArchive in(&file, CArchive::load, 1 << 16);
        for (std::size_t n = 0; n < million; ++n)
            in >> back;
    }
    items(state);
}
BENCHMARK(Targets_CArchive)->Unit(benchmark::kMillisecond);

void Targets_fwrite_fread(benchmark::State& state) {
    const ScratchFile scratch;
    std::FILE* const file = std::fopen(scratch.name(), "w+b");
    std::vector<char> bytes(million * 131); // a target in an archive
    for (auto _ : state) {
        std::rewind(file);
        if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
        std::rewind(file);
        if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
    }
    std::fclose(file);
    items(state);
}
BENCHMARK(Targets_fwrite_fread)->Unit(benchmark::kMillisecond);

// An ellipse of edges, so that the nearest edge is near the one at the same angle.
struct Outline {
    static constexpr int edges = 1000;
    std::vector<ERPoint2D> corners;

    Outline() {
        for (int n = 0; n < edges; ++n)
            corners.push_back(at(2 * M_PI * n / edges));
    }
    static ERPoint2D at(double t) { return {100 * std::cos(t), 60 * std::sin(t)}; }
    velm::NominalPlace2D nearest(const ERPoint2D& p) const {
        const int near = static_cast<int>(std::atan2(p.y() / 60, p.x() / 100) / (2 * M_PI) * edges);
        velm::NominalPlace2D best;
        double least = 1e300;
        for (int n = near + edges - 2; n <= near + edges + 2; ++n) {
            const ERPoint2D a = corners[static_cast<std::size_t>(n % edges)];
            const ERVector2D edge(a, corners[static_cast<std::size_t>((n + 1) % edges)]);
            const ERVector2D normal = ERVector2D(edge.j(), -edge.i()).normalize();
            const double t = std::min(std::max(ERVector2D(a, p) * edge / edge.norme2(), 0.0), 1.0);
            const double square = ERVector2D(a + t * edge, p).norme2();
            if (square >= least) continue;
            least = square;
            best = {a + t * edge, normal};
        }
        return best;
    }
};

void AlignSection(benchmark::State& state) {
    const Outline outline;
    const ERTransfo2D away =
        ERTransfo2D(ERVector2D(0.5, -0.3)) * ERTransfo2D::rotation(ERRadian(0.01));
    std::vector<ERPoint2D> points;
    for (int n = 0; n < 100'000; ++n)
        points.push_back(away << Outline::at(n * 0.0001));
    const velm::NominalOf2D nominal = [&outline](std::size_t, const ERPoint2D& p) {
        return outline.nearest(p);
    };
    int iterations = 0;
    for (auto _ : state) {
        const velm::Alignment2D found = velm::align(points, nominal);
        if (!found.converged) std::abort();
        iterations = found.iterations;
    }
    state.counters["iterations"] = iterations;
}
BENCHMARK(AlignSection)->Unit(benchmark::kMillisecond);

} // namespace
