// CAD files by a reader of their own, which is a script here: it isn't there, refuses, crashes,
// hangs, grows, fills the disk, writes anything else, or is left when the program is killed.
#include "inspect/input/cad_import.h"
#include "inspect/workshop.h"
#include "support/block_part.h"

#include <csignal>
#include <unistd.h>

namespace {

using namespace velm_test;
namespace fs = std::filesystem;

// A copy of the program, with a script beside it as the reader.
struct Shop : Workshop {
    Shop() {
        Block::save(path("block.velm"));
        write("p.csv", "x,y,z\n10,10,20.1\n");
        write("part.step", "ISO-10303-21;\n");
        for (const char* const folder : {"bin", "tmp"})
            fs::create_directory(path(folder));
        fs::copy(VELM_INSPECT_PROGRAM, path("bin/velm-inspect"));
    }
    void reader(const std::string& script, const std::string& shell = "/bin/sh") const {
        write("bin/velm-cad-import", "#!" + shell + "\n" + script);
        fs::permissions(path("bin/velm-cad-import"), fs::perms::owner_all);
    }
    Ended inspect(const std::string& options) const {
        const std::string command = "--version; PATH=/usr/bin:/bin TMPDIR=\"$PWD/tmp\" "
                                    "./bin/velm-inspect surface part.step p.csv --quiet ";
        return run(command + options);
    }
    // Whether nothing temporary is there, now or soon.
    bool is_clean() const {
        for (int n = 0; n < 200 && !fs::is_empty(path("tmp")); ++n)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return fs::is_empty(path("tmp"));
    }
    void expect_refusal(const Ended& ended, int code, const std::string& why) const {
        EXPECT_EQ(ended.code, code) << why;
        EXPECT_TRUE(has(ended.error, "velm-inspect: part.step: " + why)) << why;
        EXPECT_EQ(std::count(ended.error.begin(), ended.error.end(), '\n'), 1) << ended.error;
        EXPECT_FALSE(fs::exists(path("new")));
        EXPECT_TRUE(is_clean()) << why;
    }
};

TEST(CadReader, EveryEndOfTheReaderIsOneSentence) {
    const Shop shop;
    shop.expect_refusal(shop.inspect("--json new"), 3,
                        "is a CAD file, for which velm-cad-import is needed");
    const std::string its = "the reader of CAD files, velm-cad-import, ";
    const std::string hurry = " --import-limit 0.3", slow = "took longer than 0.3 seconds";
    struct Case {
        std::string script, why, options;
        int code = 3;
    };
    const Case cases[] = {
        {"echo 'velm-cad-import: part.step: no face' >&2; exit 3\n", "no face", ""},
        {"echo 'velm-cad-import: part.step: is gone' >&2; exit 4\n", "is gone", "", 4},
        {"kill -SEGV $$\n", its + "crashed on it (signal 11)", ""},
        {"kill -KILL $$\n", its + "was killed", ""},
        {"echo one >&2; echo two >&2; exit 7\n", its + "ended with code 7: two", ""},
        {"exit 3\n", its + "ended with code 3", ""},
        {"head -c 999999 /dev/zero | tr '\\0' x >&2; echo >&2; echo 'part.step: last' >&2; exit "
         "3\n",
         "last", ""},
        {"printf 'part.step: \\033[31m\\r' >&2; exit 3\n", "\\x1b[31m\\x0d", ""},
        {"sleep 1000\n", its + "was ended: it " + slow, hurry},
        {"exec 2>&-; sleep 1000\n", its + "was ended: it " + slow, hurry},
        {"while :; do :; done\n", its + "was ended: it " + slow, hurry},
        {"trap '' TERM INT; sleep 1000 & wait\n", its + "was ended: it " + slow, hurry},
        {"sleep 1000 & exit 5\n", its + "ended with code 5", ""}, // what it started holds the pipe
        {"exit 0\n", "its reader wrote no object file", ""},
        {"echo garbage > \"$3\"\n", "its reader wrote no object file", ""},
        {"head -c 3000 block.velm > \"$3\"\n", "", ""},
    };
    for (const Case& made : cases) {
        SCOPED_TRACE(made.script);
        shop.reader(made.script);
        shop.expect_refusal(shop.inspect("--json new" + made.options), made.code, made.why);
    }
    shop.reader("", "/nowhere/sh");
    shop.expect_refusal(shop.inspect("--json new"), 3, its + "ended with code 127");
    shop.reader("[ \"$1\" = -- ] || exit 3; cp block.velm \"$3\"\n");
    EXPECT_EQ(shop.inspect("--json r.json --keep-nominal kept.velm").code, 0);
    EXPECT_EQ(shop.read_json("r.json")["points"][0]["face"], "/block/top");
    EXPECT_EQ(shop.read("kept.velm"), shop.read("block.velm"));
    EXPECT_TRUE(shop.is_clean());
}

TEST(CadReader, ReadersThatGrowEndAtTheirLimits) {
    const Shop shop;
    const std::string path = std::getenv("PATH"), part = shop.path("part.step");
    ::setenv("PATH", (shop.path("bin").string() + ":" + path).c_str(), 1);
    const auto complaint = [&](const std::string& script) {
        shop.reader(script);
        return sentence_of([&] {
            const velm::inspect::ImportedPart imported(part, false, {60, 64 << 20, 1 << 20});
        });
    };
    const std::string grows = "x=aaaaaaaaaaaaaaaa; while :; do x=$x$x$x$x; done\n";
    const std::string grown = complaint(grows); // a shell ends in this way or that
    EXPECT_TRUE(has(grown, "crashed on it") || has(grown, "ended with code")) << grown;
    const std::string fills = "cat /dev/zero > \"$3\"; echo $? >&2; wc -c < \"$3\" >&2; exit 9\n";
    EXPECT_TRUE(has(complaint(fills), "ended with code 9: 1048576"));
    EXPECT_TRUE(
        has(complaint("echo 'velm-cad-import: the memory is not enough for this' >&2; exit 4\n"),
            "needed more than 64 MiB of memory"));
    ::setenv("PATH", path.c_str(), 1);
}

// However the program ends, its reader ends and its folder goes.
TEST(CadReader, NothingStaysOfAProgramThatIsKilled) {
    const Shop shop;
    shop.reader("echo half > \"$3\"; echo $$ > started; mv started pid; exec sleep 1000\n");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGKILL}) {
        const pid_t program = ::fork();
        if (program == 0) {
            fs::current_path(shop.path("."));
            ::setenv("TMPDIR", shop.path("tmp").c_str(), 1);
            ::execl("bin/velm-inspect", "velm-inspect", "surface", "part.step", "p.csv", "--json",
                    "new", static_cast<char*>(nullptr));
            ::_exit(127);
        }
        for (int n = 0; n < 1000 && !fs::exists(shop.path("pid")); ++n)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const pid_t reader = std::atoi(shop.read("pid").c_str());
        ASSERT_GT(reader, 0);
        EXPECT_FALSE(fs::is_empty(shop.path("tmp")));
        ::kill(program, signal);
        int status = 0;
        ::waitpid(program, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_TRUE(shop.is_clean()) << signal;
        const fs::path process = "/proc/" + std::to_string(reader) + "/exe"; // none of a zombie
        std::error_code error;
        for (int n = 0; n < 200 && !fs::read_symlink(process, error).empty(); ++n)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_TRUE(fs::read_symlink(process, error).empty()) << signal;
        fs::remove(shop.path("pid"));
        EXPECT_FALSE(fs::exists(shop.path("new")));
    }
}

} // namespace
