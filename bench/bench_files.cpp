// An array of a million points through ERFile, against one fwrite and one fread into freshly
// allocated memory of the same bytes.
#include "scratch_file.h"
#include "velm/frame/binary_file.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr int points = 1'000'000;
constexpr std::size_t bytes = points * sizeof(ERPoint3D);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

ERVec<ERPoint3D> sample() { return ERVec<ERPoint3D>(points, ERPoint3D(1.5, 2.5, 3.5)); }

void report(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void WriteArray_fwrite(benchmark::State& state) {
    const ScratchFile scratch;
    const ERVec<ERPoint3D> array = sample();
    const File file(std::fopen(scratch.name(), "wb"));
    for (auto _ : state) {
        std::rewind(file.get());
        const int length = bytes;
        std::fwrite(&length, sizeof length, 1, file.get());
        if (std::fwrite(array.data(), 1, bytes, file.get()) != bytes) std::abort();
        std::fflush(file.get());
    }
    report(state);
}
BENCHMARK(WriteArray_fwrite)->Unit(benchmark::kMillisecond);

void WriteArray_ERFile(benchmark::State& state) {
    const ScratchFile scratch;
    const ERVec<ERPoint3D> array = sample();
    ERFile file(scratch.name(), CFile::modeCreate | CFile::modeReadWrite);
    for (auto _ : state) {
        file.SeekToBegin();
        array.rep()->saveGuts(file);
    }
    report(state);
}
BENCHMARK(WriteArray_ERFile)->Unit(benchmark::kMillisecond);

void fill(const ScratchFile& scratch) {
    ERFile file(scratch.name(), CFile::modeCreate | CFile::modeReadWrite);
    sample().rep()->saveGuts(file);
}

void ReadArray_fread(benchmark::State& state) {
    const ScratchFile scratch;
    fill(scratch);
    const File file(std::fopen(scratch.name(), "rb"));
    for (auto _ : state) {
        std::rewind(file.get());
        int length = 0;
        if (std::fread(&length, sizeof length, 1, file.get()) != 1) std::abort();
        const std::unique_ptr<char[]> fresh(new char[bytes]);
        if (std::fread(fresh.get(), 1, bytes, file.get()) != bytes) std::abort();
        benchmark::DoNotOptimize(fresh.get());
    }
    report(state);
}
BENCHMARK(ReadArray_fread)->Unit(benchmark::kMillisecond);

void ReadArray_ERFile(benchmark::State& state) {
    const ScratchFile scratch;
    fill(scratch);
    ERFile file(scratch.name(), CFile::modeRead);
    for (auto _ : state) {
        file.SeekToBegin();
        ERVecRep* const body = ERVecRep::getRep(file);
        if (body == nullptr) std::abort();
        const ERVec<ERPoint3D> array(body);
        benchmark::DoNotOptimize(array.view().data());
    }
    report(state);
}
BENCHMARK(ReadArray_ERFile)->Unit(benchmark::kMillisecond);

} // namespace
