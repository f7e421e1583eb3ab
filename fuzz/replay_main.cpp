// Runs a fuzz target without libFuzzer: over each file of the given folders, over every prefix of
// a short file, and over copies with a few bytes changed.
#include "support/random.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes read_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// An exact heap copy, so that AddressSanitizer sees a read past the end.
void run(const Bytes& bytes, std::size_t size) {
    const Bytes exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void run_damaged(const Bytes& seed, velm_test::Random& random) {
    constexpr std::size_t prefixes = 1024;
    constexpr int changed_copies = 200;
    for (std::size_t size = 0; size < std::min(seed.size(), prefixes); ++size)
        run(seed, size);
    if (seed.empty()) return;
    for (int copy = 0; copy < changed_copies; ++copy) {
        Bytes changed = seed;
        for (int change = random.below(4); change >= 0; --change)
            changed[random.next() % changed.size()] = static_cast<std::uint8_t>(random.next());
        run(changed, changed.size());
    }
}

} // namespace

int main(int argc, char** argv) {
    int seeds = 0;
    velm_test::Random random(20240607);
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            if (!entry.is_regular_file()) continue;
            std::printf("%s\n", entry.path().filename().string().c_str());
            const Bytes seed = read_file(entry.path());
            run(seed, seed.size());
            run_damaged(seed, random);
            ++seeds;
        }
    }
    std::printf("%d seeds replayed\n", seeds);
    return seeds > 0 ? 0 : 1;
}
