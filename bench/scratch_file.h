// A temporary file's name; its destructor deletes the file.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

class ScratchFile {
public:
    ScratchFile() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velm-bench-XXXXXX").string();
        const int file = ::mkstemp(pattern.data());
        if (file < 0) std::abort();
        std::fclose(::fdopen(file, "w"));
        name_ = pattern;
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() { std::filesystem::remove(name_); }
    const char* name() const { return name_.c_str(); }

private:
    std::string name_;
};
