#include "velm/platform/file.h"

#include "support/caught.h"
#include "support/faulty_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velm_test;

using Cause = CFileException;
using Fault = FaultyFiles;

constexpr UINT fresh = CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive;
constexpr UINT shared_read = CFile::modeRead | CFile::shareDenyNone;

int cause_of_open(const std::string& name, UINT flags) {
    CFile file;
    CFileException failure;
    const bool opened = file.Open(name.c_str(), flags, &failure);
    EXPECT_EQ(opened, failure.m_cause == Cause::none);
    if (!opened) {
        EXPECT_EQ(failure.m_strFileName, name);
    }
    return failure.m_cause;
}

struct Opener {
    UINT access, share;

    bool reads() const { return access != CFile::modeWrite; }
    bool writes() const { return access != CFile::modeRead; }
    bool denies_all() const { return share == CFile::shareExclusive || share == 0; }
    bool denies_reading() const { return denies_all() || share == CFile::shareDenyRead; }
    bool denies_writing() const { return denies_all() || share == CFile::shareDenyWrite; }
    bool shuts_out(const Opener& other) const {
        return (denies_reading() && other.reads()) || (denies_writing() && other.writes());
    }
};

// Every pair of openers, against what the sharing modes say in words.
TEST(File, SharingHoldsBetweenAllPairsOfOpeners) {
    const TemporaryFolder folder;
    const std::string name = folder.file("shared", "content");
    std::vector<Opener> openers;
    for (const UINT access : {CFile::modeRead, CFile::modeWrite, CFile::modeReadWrite}) {
        for (const UINT share : {0x00u, 0x10u, 0x20u, 0x30u, 0x40u})
            openers.push_back({access, share});
    }
    for (const Opener& first : openers) {
        CFile held(name.c_str(), first.access | first.share);
        for (const Opener& second : openers) {
            const bool refused = first.shuts_out(second) || second.shuts_out(first);
            EXPECT_EQ(cause_of_open(name, second.access | second.share),
                      refused ? Cause::sharingViolation : Cause::none)
                << std::hex << first.access << ' ' << first.share << ' ' << second.access << ' '
                << second.share;
        }
        held.Close();
        EXPECT_EQ(cause_of_open(name, fresh | CFile::modeNoTruncate), Cause::none);
    }
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "content");
}

TEST(File, SharingEndsWithTheProcessThatHeldIt) {
    const TemporaryFolder folder;
    const std::string name = folder.file("held", "content");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        CFile held;
        const char opened = static_cast<char>(held.Open(name.c_str(), CFile::modeReadWrite));
        if (write(ready[1], &opened, 1) == 1) pause();
        _exit(0);
    }
    char opened = 0;
    ASSERT_EQ(read(ready[0], &opened, 1), 1);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(cause_of_open(name, shared_read), Cause::sharingViolation);
    EXPECT_EQ(cause_of_open(name, fresh), Cause::sharingViolation);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "content") << "emptied before it was held";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(cause_of_open(name, fresh), Cause::none);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "");
    close(ready[0]);
    close(ready[1]);
}

TEST(File, RefusesWhatIsNoRegularFileWithoutWaiting) {
    const TemporaryFolder folder;
    const std::string pipe_name = folder.path("pipe"), plain = folder.file("plain", "");
    ASSERT_EQ(mkfifo(pipe_name.c_str(), 0600), 0);
    const struct {
        std::string name;
        int cause;
    } refused[] = {
        {folder.path(""), Cause::accessDenied},
        {pipe_name, Cause::invalidFile},
        {"/dev/null", Cause::invalidFile},
        {plain + "/below", Cause::badPath},
        {folder.path("no/such/folder"), Cause::badPath},
        {folder.path(std::string(300, 'x')), Cause::badPath},
        {"", Cause::fileNotFound},
    };
    for (const auto& [name, cause] : refused) {
        for (const UINT access : {CFile::modeRead, CFile::modeWrite, CFile::modeReadWrite})
            EXPECT_EQ(cause_of_open(name, access | CFile::shareDenyNone), cause) << name;
    }
    EXPECT_EQ(cause_of_open(folder.path("missing"), shared_read), Cause::fileNotFound);
}

TEST(File, WhatIsWrittenIsSeenThroughAnotherDescriptorAtOnce) {
    const TemporaryFolder folder;
    const std::string name = folder.path("seen");
    CFile file(name.c_str(), fresh);
    file.Write("abcdef", 6);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "abcdef");

    EXPECT_EQ(file.Seek(-2, CFile::end), 4u);
    EXPECT_EQ(file.Seek(-3, CFile::current), 1u);
    file.Write("X", 1);
    char read[8] = {};
    EXPECT_EQ(file.Read(read, 8), 4u);
    EXPECT_STREQ(read, "cdef");
    const auto twin = file.Duplicate();
    twin->SeekToBegin();
    EXPECT_EQ(file.GetPosition(), 6u);
    EXPECT_EQ(twin->Read(read, 2), 2u);
    EXPECT_EQ(std::string(read, 2), "aX");

    // Past the end: the gap is zeros; cut and extended the position stays.
    file.Seek(8, CFile::begin);
    file.Write("Z", 1);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), std::string("aXcdef\0\0Z", 9));
    file.SetLength(2);
    EXPECT_EQ(file.GetPosition(), 9u);
    EXPECT_EQ(file.Read(read, 1), 0u);
    file.SetLength(3);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), std::string("aX\0", 3));

    // The sharing lasts until the twin is closed too.
    file.Close();
    EXPECT_EQ(cause_of_open(name, shared_read), Cause::sharingViolation);
    twin->Close();
    EXPECT_EQ(cause_of_open(name, shared_read), Cause::none);
}

TEST(File, GrowthBeyondTheLimitIsAFullDiskBeforeAnythingIsWritten) {
    const TemporaryFolder folder;
    const std::string name = folder.path("large");
    CFile file(name.c_str(), fresh);
    file.Seek(static_cast<LONGLONG>(CFile::longest) - 1, CFile::begin);
    EXPECT_EQ(file_cause([&] { file.Write("ab", 2); }), Cause::diskFull);
    EXPECT_EQ(file.GetLength(), 0u);
    EXPECT_EQ(file_cause([&] { file.SetLength(CFile::longest + 1); }), Cause::diskFull);
    file.Write("a", 1);
    EXPECT_EQ(file.GetLength(), CFile::longest);
    EXPECT_EQ(file_cause([&] { file.Write("b", 1); }), Cause::diskFull);
    file.Write("b", 0);
    EXPECT_EQ(file.GetLength(), CFile::longest);
}

TEST(File, KeepsToItsAccessAndItsDescriptorToItself) {
    const TemporaryFolder folder;
    const std::string name = folder.file("plain", "content");
    char byte;
    Fault system;
    {
        CFile file(name.c_str(), CFile::modeWrite);
        EXPECT_EQ(file_cause([&] { file.Read(&byte, 1); }), Cause::accessDenied);
        EXPECT_NE(fcntl(system.last_opened(), F_GETFD) & FD_CLOEXEC, 0);
    }
    CFile file(name.c_str(), CFile::modeRead);
    EXPECT_EQ(file_cause([&] { file.Write("x", 1); }), Cause::accessDenied);
    EXPECT_EQ(file_cause([&] { file.SetLength(0); }), Cause::accessDenied);
    file.Close();
    EXPECT_EQ(file_cause([&] { file.Read(&byte, 1); }), Cause::invalidFile);
    EXPECT_EQ(file_cause([&] { file.Write("x", 1); }), Cause::invalidFile);
    EXPECT_EQ(file_cause([&] { file.GetLength(); }), Cause::invalidFile);

    // A file that may be written but not read is opened for writing alone.
    system.fail(Fault::opening, 1, EACCES);
    ASSERT_TRUE(file.Open(name.c_str(), CFile::modeWrite | CFile::shareDenyWrite));
    EXPECT_EQ(fcntl(system.last_opened(), F_GETFL) & O_ACCMODE, O_WRONLY);
    EXPECT_EQ(cause_of_open(name, CFile::modeWrite | CFile::shareDenyNone),
              Cause::sharingViolation);
    EXPECT_EQ(cause_of_open(name, shared_read), Cause::none);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "content");
}

TEST(File, ShortAndInterruptedTransfersAreFinished) {
    const TemporaryFolder folder;
    std::string content(1000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 7);
    const std::string name = folder.path("slow");
    Fault system;
    system.fall_short(3);
    CFile file(name.c_str(), fresh);
    file.Write(content.data(), 1000);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), content);
    file.SeekToBegin();
    std::string back(1001, '\0');
    EXPECT_EQ(file.Read(back.data(), 1001), 1000u);
    EXPECT_EQ(back.substr(0, 1000), content);
}

TEST(File, FaultsBelowBecomeCauses) {
    const TemporaryFolder folder;
    const std::string name = folder.file("faulty", "content");
    Fault system;
    char bytes[4];
    CFile file(name.c_str(), CFile::modeReadWrite);
    const auto cause = [&](Fault::Operation kind, int error, auto operation) {
        system.fail(kind, 1, error);
        return file_cause(operation);
    };
    EXPECT_EQ(cause(Fault::reading, EIO, [&] { file.Read(bytes, 4); }), Cause::hardIO);
    EXPECT_EQ(cause(Fault::writing, ENOSPC, [&] { file.Write(bytes, 4); }), Cause::diskFull);
    EXPECT_EQ(cause(Fault::seeking, EINVAL, [&] { file.Seek(1, CFile::begin); }), Cause::badSeek);
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_EQ(cause(Fault::cutting, EPERM, [&] { file.SetLength(0); }), Cause::accessDenied);
    EXPECT_EQ(cause(Fault::closing, EIO, [&] { file.Close(); }), Cause::hardIO);
    EXPECT_EQ(cause(Fault::closing, EIO, [&] { file.Close(); }), 0) << "closed already";

    const auto cause_of_locking = [&](UINT flags) {
        system.fail(Fault::locking, 1, EOPNOTSUPP);
        return cause_of_open(name, flags);
    };
    EXPECT_EQ(cause_of_locking(fresh), Cause::lockViolation);
    EXPECT_EQ(cause_of_locking(shared_read), Cause::none);
    EXPECT_EQ(TemporaryFolder::bytes_of(name), "content");

    const int errors[][2] = {{EMFILE, Cause::tooManyOpenFiles},
                             {EROFS, Cause::accessDenied},
                             {ENOLCK, Cause::lockViolation},
                             {EDOM, Cause::genericException}};
    for (const auto& [error, expected] : errors) {
        system.fail(Fault::opening, 1, error);
        EXPECT_EQ(cause_of_open(name, CFile::modeReadWrite), expected);
    }
}

} // namespace
