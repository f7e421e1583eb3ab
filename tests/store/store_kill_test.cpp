// Processes that are killed while they store and delete: at every write of a recorded run, and at
// random moments. The rebuilding brings back what it must, and nothing else.
#include "store/store_files.h"
#include "velm/platform/detail/system_files.h"
#include "velm/store/store_salvage.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velm_test;

constexpr std::int32_t kDeleted = -1;

// What an operation does, or has done once it has returned.
struct Change {
    std::int32_t id; // 0 for one not given out yet
    std::int32_t version;
    std::int32_t returned;
};
using Objects = std::map<std::int32_t, std::int32_t>; // the version by identifier

// Saves, changes and deletes objects at random, up to a number of them.
class Work {
public:
    Work(const std::string& path, std::uint64_t seed, int most)
        : random_(Random::fixed(seed)), most_(most) {
        succeed(data_.Open(path.c_str(), 0) == gmSuccess);
    }

    // One operation, reported before it begins and after it has returned.
    template <class Report>
    void step(std::int32_t version, Report report) {
        const int roll = random_.below(10);
        const auto id_of = [](const t_SmartPtr<Sample>& object) {
            return static_cast<std::int32_t>(object->getObjectID());
        };
        if (objects_.empty() || (roll < 6 && static_cast<int>(objects_.size()) < most_)) {
            report(Change{0, version, 0});
            objects_.emplace_back(new Sample(version, random_.below(200)));
            succeed(data_.save(t_SmartPtr<ERObject>(objects_.back().get())) == gmSuccess);
            return report(Change{id_of(objects_.back()), version, 1});
        }
        const auto i = static_cast<std::size_t>(random_.below(static_cast<int>(objects_.size())));
        Change change{id_of(objects_[i]), roll < 8 ? version : kDeleted, 0};
        report(change);
        if (roll < 8) {
            objects_[i]->number = version;
            if (roll == 7) objects_[i]->content = ERVec<char>(random_.below(200), 'x');
            data_.objects()->Store(*objects_[i]);
        } else {
            objects_[i]->Delete();
            objects_.erase(objects_.begin() + static_cast<long>(i));
        }
        change.returned = 1;
        report(change);
    }

    void flush() { succeed(data_.flush() == gmSuccess); }

private:
    static void succeed(bool success) {
        if (!success) ::_exit(1);
    }
    Random random_;
    int most_;
    ERDataBase data_;
    std::vector<t_SmartPtr<Sample>> objects_;
};

void take_note(const Change& change, Objects& objects) {
    if (change.version == kDeleted)
        objects.erase(change.id);
    else
        objects[change.id] = change.version;
}

// What is wrong with the file that the rebuilding makes: it holds neither the objects as the last
// operation that returned left them nor these after the one that was under way.
std::string wrong_with_salvaged(const std::string& file, const std::string& rebuilt,
                                const Objects& objects, Change under_way) {
    std::remove(rebuilt.c_str());
    velm::salvage_store(file.c_str(), rebuilt.c_str(), false);
    std::string wrong = faults_of(rebuilt);
    const velm::StoreImage image(rebuilt.c_str());
    velm::StoredObjects store(rebuilt.c_str());
    Objects found;
    for (const velm::RecordImage& record : image.records)
        if (const auto object = store.create(record.identifier))
            found[static_cast<std::int32_t>(record.identifier)] = Sample::castdown(*object).number;
    if (image.index.entries.size() + 1 < found.size()) wrong += "objects without an index\n";
    if (under_way.id == 0 && !found.empty()) under_way.id = found.rbegin()->first;
    Objects after = objects;
    take_note(under_way, after);
    return found == objects || found == after ? wrong : wrong + "objects missing, old or back";
}

// Keeps what is written to a file.
class RecordedFiles : public velm::detail::SystemFiles {
public:
    RecordedFiles() : previous_(velm::detail::set_system_files(this)) {}
    ~RecordedFiles() override { velm::detail::set_system_files(previous_); }
    ssize_t write(int file, const void* buffer, std::size_t count, off_t offset) override {
        if (records)
            events.push_back({static_cast<std::size_t>(offset),
                              std::string(static_cast<const char*>(buffer), count)});
        return SystemFiles::write(file, buffer, count, offset);
    }
    int truncate(int file, off_t length) override {
        if (records) events.push_back({static_cast<std::size_t>(length), {}});
        return SystemFiles::truncate(file, length);
    }
    struct Event {
        std::size_t offset;
        std::string bytes; // none: the file is cut there
        // Does it as far as the next end of a page after `from`, and returns how far that is.
        std::size_t happen(std::string& image, std::size_t from) const {
            if (bytes.empty()) image.resize(offset);
            const std::size_t to = std::min(bytes.size(), from + 4096 - (offset + from) % 4096);
            if (image.size() < offset + to) image.resize(offset + to);
            image.replace(offset + from, to - from, bytes, from, to - from);
            return to;
        }
        void happen_whole(std::string& image) const {
            std::size_t done = 0;
            do
                done = happen(image, done);
            while (done < bytes.size());
        }
        // Each sector of 512 bytes by chance.
        void happen_in_part(std::string& image, Random& random) const {
            if (bytes.empty() && random.below(2)) image.resize(offset);
            for (std::size_t from = 0, to; from < bytes.size(); from = to) {
                to = std::min(bytes.size(), from + 512 - (offset + from) % 512);
                if (random.below(2)) continue;
                if (image.size() < offset + to) image.resize(offset + to);
                image.replace(offset + from, to - from, bytes, from, to - from);
            }
        }
    };
    std::vector<Event> events;
    bool records = true;

private:
    velm::detail::SystemFiles* previous_;
};

// A disk that loses its power keeps some sectors of what was written since the last flush, and
// drops the others.
class PowerLoss {
public:
    explicit PowerLoss(const TemporaryFolder& folder) : folder_(folder) {}

    struct Counts {
        long images = 0, found = 0, silent = 0; // of these with a loss: found by the check or not
    };

    // Takes the objects that no operation has touched since the flush for those that must be
    // there.
    void count(const std::string& image, const Objects& durable, Counts& counts) const {
        const std::string file = folder_.file("image", image);
        const std::string rebuilt = folder_.path("rebuilt");
        std::remove(rebuilt.c_str());
        velm::salvage_store(file.c_str(), rebuilt.c_str(), false);
        EXPECT_EQ(faults_of(rebuilt), "");
        velm::StoredObjects store(rebuilt.c_str());
        bool loss = false;
        for (const auto& [id, version] : durable) {
            const t_SmartPtr<ERObject> object = store.create(id);
            loss = loss || !object || Sample::castdown(*object).number != version;
        }
        ++counts.images;
        if (!loss) return;
        const velm::StoreImage read(file.c_str());
        const bool is_found =
            velm::check_store(file.c_str()).faults.count() > velm::stale_counters(read).size();
        ++(is_found ? counts.found : counts.silent);
    }

private:
    const TemporaryFolder& folder_;
};

TEST(PowerLoss, IsHarmlessInTheOrderOfWritesAndCountedInAnyOther) {
    const bool thorough = setting("VELM_TEST_THOROUGH", 0) != 0;
    const int subsets = thorough ? 1000 : 8;
    TemporaryFolder folder;
    const PowerLoss power(folder);
    PowerLoss::Counts prefixes, any;
    Random random(86);
    RecordedFiles files;
    Work work(folder.path("store"), 3, 60);
    Objects objects, durable;
    std::string image;
    for (int version = 1; version <= 400; ++version) {
        if (version % 40 == 1) {
            work.flush();
            image = TemporaryFolder::bytes_of(folder.path("store"));
            files.events.clear();
            durable = objects;
        }
        Change under_way{};
        work.step(version, [&](Change change) {
            under_way = change;
            if (change.returned) take_note(change, objects);
        });
        durable.erase(under_way.id);
        if (version < 200 || (!thorough && version % 11 != 0)) continue; // with nodes enough
        files.records = false; // what the rebuilding writes
        std::string written = image;
        for (const RecordedFiles::Event& event : files.events) {
            event.happen_whole(written);
            if (&event >= &files.events.back() - 8) power.count(written, durable, prefixes);
        }
        for (int i = 0; i < subsets; ++i) {
            std::string kept = image;
            for (const RecordedFiles::Event& event : files.events)
                event.happen_in_part(kept, random);
            power.count(kept, durable, any);
        }
        files.records = true;
    }
    std::printf("in order: %ld images, %ld losses; any sectors: %ld images, %ld losses that the "
                "check names, %ld that it doesn't\n",
                prefixes.images, prefixes.found + prefixes.silent, any.images, any.found,
                any.silent);
    EXPECT_EQ(prefixes.found + prefixes.silent, 0);
    EXPECT_GT(any.found, 0);
}

// The system leaves a killed process's write complete up to the end of a page.
TEST(KilledStore, KeepsItsPromiseAtTheEndOfEachPageWritten) {
    TemporaryFolder folder;
    std::vector<std::pair<std::size_t, Change>> reported; // with the events before it
    std::vector<RecordedFiles::Event> events;
    {
        RecordedFiles files;
        Work work(folder.path("store"), static_cast<std::uint64_t>(setting("VELM_TEST_SEED", 1)),
                  120);
        for (int version = 1; version <= 2500; ++version)
            work.step(version,
                      [&](Change change) { reported.emplace_back(files.events.size(), change); });
        events = files.events;
    }
    const int stride = setting("VELM_TEST_THOROUGH", 0) ? 1 : 29;
    std::string image;
    Objects objects;
    auto next = reported.begin();
    int images = 0, failures = 0;
    for (std::size_t k = 0; k < reported.back().first; ++k) {
        for (; next->first <= k; ++next)
            if (next->second.returned) take_note(next->second, objects);
        for (std::size_t done = 0; done < events[k].bytes.size() || done == 0;) {
            if (k > reported.front().first && ++images % stride == 0) {
                const std::string wrong =
                    wrong_with_salvaged(folder.file("image", image), folder.path("rebuilt"),
                                        objects, std::prev(next)->second);
                EXPECT_EQ(wrong, "") << "after " << done << " bytes of event " << k;
                if (wrong != "" && ++failures > 5) return;
            }
            done = events[k].happen(image, done);
            if (events[k].bytes.empty()) break;
        }
    }
    std::printf("%d images\n", images);
    EXPECT_GT(images, 10000);
}

TEST(KilledStore, LosesNothingAtRandomMoments) {
    const int rounds = setting("VELM_TEST_KILLS", 25);
    TemporaryFolder folder;
    const std::string path = folder.path("store");
    Random random(static_cast<std::uint64_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        std::remove(path.c_str());
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const std::uint64_t seed = random.next();
        const pid_t child = ::fork();
        if (child == 0) {
            Work work(path, seed, 2000);
            for (int version = 1;; ++version)
                work.step(version, [&](Change change) {
                    if (::write(ends[1], &change, sizeof change) != sizeof change) ::_exit(1);
                });
        }
        ::close(ends[1]);
        Objects objects;
        Change change = {};
        const int enough = 20 + random.below(5000);
        int came = 0;
        while (::read(ends[0], &change, sizeof change) == sizeof change) {
            if (change.returned) take_note(change, objects);
            if (++came != enough) continue;
            ::usleep(static_cast<useconds_t>(random.below(300)));
            ::kill(child, SIGKILL);
        }
        ::close(ends[0]);
        ::waitpid(child, nullptr, 0);
        ASSERT_GE(came, enough);
        ASSERT_TRUE(velm::counters_are_stale(path.c_str()));
        ASSERT_EQ(wrong_with_salvaged(path, folder.path("rebuilt"), objects, change), "");
    }
}

} // namespace
