// make_sample FOLDER: the demo's samples, each a nominal and its simulated probing. The same
// numbers at every run.
#include "sample_tools.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_sample FOLDER\n", stderr);
        return 2;
    }
    try {
        demo::write_housing(argv[1]);
        demo::write_blade(argv[1]);
        demo::write_link(argv[1]);
        demo::write_panel(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_sample: %s: %s\n", argv[1], error.what());
        return 4;
    }
}
