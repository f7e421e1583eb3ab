// The object database, and objects that save, delete and refer to themselves in it.
#include "store/store_files.h"
#include "support/caught.h"
#include "velm/wireframe/segment.h"

#include <pthread.h>

namespace {

using namespace velm_test;

struct ObjectDataBase : StoreTest {
    std::unique_ptr<ERObjectDataBase> store = std::make_unique<ERObjectDataBase>();

    void open(int read_only = 0) { ASSERT_EQ(store->Open(path.c_str(), read_only), 1); }
    void TearDown() override {
        store.reset();
        expect_sound();
    }
    Sample restored(long id) {
        const t_SmartPtr<ERObject> object = store->RetrieveAndCreate(id);
        EXPECT_TRUE(object);
        return object ? Sample::castdown(*object) : Sample();
    }
};

TEST_F(ObjectDataBase, NewFileHasTheStatedLayout) {
    open();
    const std::string made = bytes();
    EXPECT_EQ(word_at(made, 0), 284);
    EXPECT_EQ(word_at(made, 4), 392);
    EXPECT_EQ(made.substr(280, 28), words({24, 1001, 308, 352, 0, 0, 0}))
        << "the sixth word lies on the size word of the class tree's block";
    EXPECT_EQ(made.substr(308, 40), words({-1, -1, 1365, 0, 60, 10, 10, -1, 0, 0}));
    EXPECT_EQ(made.substr(348, 44), words({44, -1, -1, 1365, 0, 4, 10, 10, -1, 0, 1}));
    Sample a(7, 3);
    EXPECT_EQ(store->Store(a), 1);
    const std::string stored = bytes();
    EXPECT_EQ(stored.substr(296, 12), words({0, 0, 0})) << "the counters wait for Close";
    store->Close();
    EXPECT_EQ(bytes(), golden("one_object")) << "described byte by byte in docs/file-format.md";
    EXPECT_EQ(store->getNbObj(), 0);
    open();
    EXPECT_EQ(store->get_db_version(), 1001u);
    EXPECT_EQ(store->getNbObj(), 1);
    EXPECT_EQ(restored(1), a);
}

TEST_F(ObjectDataBase, StoringAgainKeepsTheIdentifierAndMovesTheRecord) {
    open();
    Sample a(1, 30), b(2, 30);
    store->Store(a);
    store->Store(b);
    const std::string before = bytes();
    a.number = 11;
    EXPECT_EQ(store->Store(a), 1);
    EXPECT_EQ(restored(1), a);
    EXPECT_EQ(restored(2), b);
    const std::int32_t end = word_at(bytes(), 4);
    Sample c(3, 30);
    EXPECT_EQ(store->Store(c), 3);
    EXPECT_EQ(word_at(bytes(), 4), end) << "takes the block that the first record left";
    EXPECT_EQ(store->Delete(2), 1);
    EXPECT_EQ(store->Delete(2), 0);
    EXPECT_FALSE(store->RetrieveAndCreate(2));
    EXPECT_EQ(store->Retrieve(2, b), 0);
    Sample d(4, 1);
    EXPECT_EQ(store->Store(d), 4) << "identifiers are not given out twice";
    EXPECT_EQ(store->getNbObj(), 4);
    EXPECT_EQ(store->Store(b), 2) << "back under its identifier";
    EXPECT_EQ(restored(2), b);
    Sample into;
    EXPECT_EQ(store->Retrieve(3, into), 1);
    EXPECT_EQ(into, c);
    EXPECT_EQ(into.getObjectID(), 3);
    EXPECT_EQ(into.Database(), store.get());
}

// The size word of a block is taken at face value when the block is given back, known or not.
TEST_F(ObjectDataBase, DeletingFreesWhatTheSizeWordSays) {
    const auto image = [&] { return velm::StoreImage(folder.file("copy", bytes()).c_str()); };
    for (const bool is_overwritten : {false, true}) {
        for (const bool by_an_operation : {false, true}) {
            std::remove(path.c_str());
            open();
            Sample objects[3] = {{1, 30}, {2, 30}, {3, 30}};
            for (Sample& object : objects)
                store->Store(object);
            EXPECT_EQ(restored(2).number, 2);
            const long location = image().records[1].location;
            const std::int32_t total = word_at(bytes(), static_cast<std::size_t>(location - 4));
            const std::int32_t smaller = total - 8;
            ERFileManager& file = *store->fileManager();
            if (is_overwritten && by_an_operation) {
                file.write_through(location - 4, &smaller, sizeof smaller);
            } else if (is_overwritten) {
                file.Seek(location - 4, CFile::begin);
                file.Write(smaller);
            }
            EXPECT_EQ(store->Delete(2), 1);
            const auto freed = image().free_extents;
            ASSERT_EQ(freed.size(), 1u);
            EXPECT_EQ(freed[0].offset, location - 4);
            EXPECT_EQ(freed[0].size, is_overwritten ? smaller : total);
            store->Close();
        }
    }
}

TEST_F(ObjectDataBase, VersionsAndRefusedFiles) {
    open();
    Sample a(1, 10);
    store->Store(a);
    store->Close();
    const std::string good = bytes();
    const auto with = [&](std::size_t offset, std::int32_t word) {
        return folder.file("other", with_word(good, offset, word));
    };
    EXPECT_EQ(store->Open(with(284, 1000).c_str(), 0), 1);
    EXPECT_EQ(store->get_db_version(), 1000u);
    EXPECT_EQ(store->get_db_current_version(), 1001u);
    open();
    EXPECT_EQ(store->get_db_version(), 1001u) << "of the file that is open now";
    store->Close();
    EXPECT_EQ(store->Open(folder.path("none").c_str(), 1), 0);
    EXPECT_FALSE(ERFile::Exists(folder.path("none").c_str()));
    // A later version, no whole header: refused. An unknown head: opened, and never written.
    const auto unharmed = [&](const std::string& name, int opened, int cause) {
        SCOPED_TRACE(name);
        const std::string before = TemporaryFolder::bytes_of(name);
        int result = 0;
        EXPECT_EQ(file_cause([&] {
                      result = store->Open(name.c_str(), 0);
                      Sample b(2, 2);
                      if (result) store->Store(b);
                  }),
                  cause);
        EXPECT_EQ(result, opened);
        store->Close();
        EXPECT_EQ(TemporaryFolder::bytes_of(name), before);
    };
    unharmed(with(284, 1002), 0, 0);
    unharmed(with(284, -1), 0, 0);
    unharmed(folder.file("cut", good.substr(0, 300)), 0, 0);
    unharmed(with(8, 267), 1, CFileException::invalidFile);
    unharmed(folder.file("empty", ""), 0, CFileException::badSeek);
    unharmed(folder.file("head", good.substr(0, 280).replace(0, 4, words({-1}))), 0,
             CFileException::badSeek);
    unharmed(folder.file("text", std::string(1000, 'x')), 0, 0);
    const std::string read_only = with(284, 1001);
    const std::string before = TemporaryFolder::bytes_of(read_only);
    ASSERT_EQ(store->Open(read_only.c_str(), 1), 1);
    EXPECT_EQ(file_cause([&] { store->Store(a); }), CFileException::accessDenied);
    EXPECT_EQ(file_cause([&] { store->Delete(1); }), CFileException::accessDenied);
    EXPECT_TRUE(store->RetrieveAndCreate(1));
    store->Close();
    EXPECT_EQ(TemporaryFolder::bytes_of(read_only), before);
    EXPECT_EQ(file_cause([&] { store->Store(a); }), CFileException::invalidFile) << "closed";
    EXPECT_FALSE(store->RetrieveAndCreate(1));
}

TEST_F(ObjectDataBase, StaleCountersNeverLoseAnObject) {
    open();
    Sample a(1, 10);
    store->Store(a);
    const std::string killed = bytes(); // as after a process that never closed
    store->Close();
    EXPECT_FALSE(velm::counters_are_stale(path.c_str()));
    const std::string other = folder.file("killed", killed);
    EXPECT_TRUE(velm::counters_are_stale(other.c_str()));
    EXPECT_NE(faults_of(other), "");
    ASSERT_EQ(store->Open(other.c_str(), 0), 1);
    Sample b(2, 10);
    EXPECT_EQ(file_cause([&] { store->Store(b); }), CFileException::invalidFile);
    EXPECT_EQ(restored(1), a) << "the identifier is still the first one's";
}

TEST_F(ObjectDataBase, SaveDeleteAndLoad) {
    open();
    ERObjectDataBase second;
    ASSERT_EQ(second.Open(folder.path("second").c_str(), 0), 1);
    Sample a(1, 5);
    EXPECT_EQ(a.Save(nullptr), 0);
    EXPECT_EQ(a.Delete(), 0);
    EXPECT_EQ(a.Load(-1, store.get()), 0);
    EXPECT_EQ(a.Save(store.get()), 1);
    EXPECT_EQ(a.getObjectID(), 1);
    EXPECT_EQ(a.Load(-1, nullptr), 1);
    const std::string before = bytes();
    EXPECT_EQ(a.Save(nullptr), 1);
    EXPECT_EQ(bytes(), before) << "a clean object is not written again";
    a.number = 2;
    a.setDirty();
    EXPECT_EQ(a.Save(store.get()), 1);
    EXPECT_EQ(a.isDirty(), 0);
    EXPECT_EQ(a.getObjectID(), 1);
    Sample other(9, 9);
    other.Save(&second);
    a.number = 3;
    a.setDirty();
    EXPECT_EQ(a.Save(&second), 1);
    EXPECT_EQ(a.getObjectID(), 2);
    EXPECT_EQ(a.Database(), &second);
    EXPECT_EQ(restored(1).number, 3) << "written to the old store first";
    const Sample copy(a);
    EXPECT_EQ(copy.getObjectID(), -1);
    EXPECT_EQ(copy.Database(), nullptr);
    EXPECT_EQ(a.Delete(), 1);
    EXPECT_EQ(a.getObjectID(), -1);
    EXPECT_EQ(a.Database(), nullptr);
    EXPECT_FALSE(second.RetrieveAndCreate(2));
    second.Close();
    EXPECT_EQ(other.Delete(), 0);
    other.setDirty();
    EXPECT_EQ(other.Save(nullptr), 0) << "its store is closed";
    EXPECT_EQ(other.isDirty(), 1);
    EXPECT_EQ(faults_of(folder.path("second")), "");
}

struct Holder {
    Sample member;
};
struct Odd : Holder, Sample {};

TEST_F(ObjectDataBase, NewInAStoreGivesAnIdentifierAtOnce) {
    open();
    t_SmartPtr<Sample> a(new (store.get()) Sample(5, 5));
    EXPECT_EQ(a->getObjectID(), 1);
    EXPECT_EQ(a->Database(), store.get());
    EXPECT_EQ(ERObject::m_NextAllocationOnDatabase, 0);
    const std::string first = bytes();
    EXPECT_NE(first.find("ERObject"), std::string::npos) << "the record of a bare ERObject";
    EXPECT_FALSE(store->RetrieveAndCreate(1));
    a->setDirty();
    a->Save(nullptr);
    EXPECT_EQ(restored(1), *a);
    // The wish belongs to the block: members, arguments and copies are not saved.
    t_SmartPtr<ERObject> pair(new (store.get()) Link);
    EXPECT_EQ(pair->getObjectID(), 2);
    t_SmartPtr<Sample> copy(new (store.get()) Sample(*a));
    EXPECT_EQ(copy->getObjectID(), -1);
    t_SmartPtr<Sample> plain(new Sample(1, 1));
    EXPECT_EQ(plain->getObjectID(), -1);
    t_SmartPtr<Sample> nowhere(new (static_cast<ERObjectDataBase*>(nullptr)) Sample(1, 1));
    EXPECT_EQ(nowhere->getObjectID(), -1);
    // A member that is constructed first passes on what it got.
    std::unique_ptr<Odd> odd(new (store.get()) Odd);
    EXPECT_EQ(static_cast<Sample&>(*odd).getObjectID(), 3);
    EXPECT_EQ(static_cast<Sample&>(*odd).Database(), store.get());
    EXPECT_EQ(odd->member.getObjectID(), -1);
    EXPECT_EQ(odd->member.Database(), nullptr);
    EXPECT_EQ(store->getNbObj(), 3);
}

TEST_F(ObjectDataBase, ReferencesShareOnFileAndComeBackApart) {
    open();
    t_SmartPtr<Link> link(new Link);
    t_SmartPtr<Sample> shared(new Sample(8, 80));
    link->one = t_SmartPtr<ERObject>(shared.get());
    for (int i = 0; i < 3; ++i)
        link->several.append(shared);
    link->several.append(t_SmartPtr<Sample>());
    EXPECT_EQ(link->binaryStoreSize(), 8u + 4 + 3 * 8 + 4);
    EXPECT_EQ(store->Store(*link), 1);
    EXPECT_EQ(shared->getObjectID(), 2);
    EXPECT_EQ(store->getNbObj(), 2);
    const std::string all = bytes();
    const velm::StoreImage image(folder.file("copy", all).c_str());
    ASSERT_EQ(image.records.size(), 2u);
    EXPECT_EQ(image.guts(image.records[0]).substr(0, 40), words({0, 2, 4, 0, 2, 0, 2, 0, 2, 1}));
    const t_SmartPtr<ERObject> back = store->RetrieveAndCreate(1);
    const Link& read = Link::castdown(*back);
    EXPECT_EQ(Sample::castdown(*read.one), *shared);
    ASSERT_EQ(read.several.entries(), 4);
    std::vector<ERObject*> seen;
    for (const auto& element : read.several)
        seen.push_back(element.get());
    EXPECT_EQ(seen[3], nullptr);
    EXPECT_NE(seen[0], seen[1]);
    EXPECT_EQ(seen[0]->getObjectID(), 2);
    // An element of another class comes back as null, one that was deleted too.
    shared->setDirty();
    link->one = nullptr;
    link->setDirty();
    link->Save(nullptr);
    EXPECT_EQ(shared->Delete(), 1);
    const t_SmartPtr<ERObject> again = store->RetrieveAndCreate(1);
    EXPECT_EQ(Link::castdown(*again).several.entries(), 4);
    EXPECT_FALSE(Link::castdown(*again).several.first());
}

TEST_F(ObjectDataBase, CirclesEndInNull) {
    open();
    t_SmartPtr<Link> a(new Link), b(new Link);
    store->Store(*a);
    store->Store(*b);
    a->one = t_SmartPtr<ERObject>(b.get());
    b->one = t_SmartPtr<ERObject>(a.get());
    store->Store(*a); // both are clean: only the references are written
    store->Store(*b);
    const t_SmartPtr<ERObject> read = store->RetrieveAndCreate(1);
    const Link& inner = Link::castdown(*Link::castdown(*read).one);
    EXPECT_FALSE(inner.one);
    a->one = nullptr;
    b->one = nullptr;
    a->setDirty();
    b->setDirty();
    a->one = t_SmartPtr<ERObject>(b.get());
    b->one = t_SmartPtr<ERObject>(a.get());
    EXPECT_EQ(a->Save(store.get()), 0) << "a changed object refers to itself";
    a->one = nullptr;
}

// Runs a function on a stack of its own.
void on_a_stack(std::size_t bytes, const std::function<void()>& function) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    pthread_t thread;
    const auto run = [](void* what) -> void* {
        (*static_cast<const std::function<void()>*>(what))();
        return nullptr;
    };
    auto* const argument = const_cast<std::function<void()>*>(&function);
    ASSERT_EQ(pthread_create(&thread, &attributes, run, argument), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// The length of a chain in memory.
int links_from(const ERObject* object) {
    int links = 0;
    for (; object; ++links)
        object = Link::castdown(object)->one.get();
    return links;
}

// Nothing is cut: a chain is read and written whole, or the whole operation fails with a code. A
// level takes up to 4 KiB of stack where a sanitizer has widened the frames.
TEST_F(ObjectDataBase, AChainOfReferencesIsWholeOrAFailure) {
    constexpr int most = 20000;
    open();
    std::vector<long> heads; // by length
    t_SmartPtr<Link> head;
    for (int length = 1; length <= most; ++length) {
        t_SmartPtr<Link> longer(new Link);
        longer->one = t_SmartPtr<ERObject>(head.get());
        ASSERT_EQ(longer->Save(store.get()), 1);
        heads.push_back(longer->getObjectID());
        head = longer;
    }
    on_a_stack(std::size_t{96} << 20, [&] { head = nullptr; });
    for (const std::size_t stack : {std::size_t{96} << 20, std::size_t{256} << 10})
        on_a_stack(stack, [&] {
            for (const int length : {1, 20, 513, most}) {
                const long id = heads[static_cast<std::size_t>(length - 1)];
                int links = 0;
                const int cause =
                    file_cause([&] { links = links_from(store->RetrieveAndCreate(id).get()); });
                const bool roomy = length <= 20 || stack > std::size_t{1} << 20;
                SCOPED_TRACE(std::to_string(length) + " links, stack " + std::to_string(stack));
                EXPECT_TRUE(!roomy || cause == CFileException::none) << cause;
                EXPECT_TRUE(roomy || length < most || cause == CFileException::genericException);
                EXPECT_TRUE(cause != CFileException::none || links == length) << links;
            }
        });
    // Written at once, from the other end.
    for (int length = 1; length <= most; ++length) {
        t_SmartPtr<Link> longer(new Link);
        longer->one = t_SmartPtr<ERObject>(head.get());
        head = longer;
    }
    on_a_stack(std::size_t{256} << 10, [&] { EXPECT_EQ(head->Save(store.get()), 0); });
    EXPECT_FALSE(store->RetrieveAndCreate(head->getObjectID())) << "nothing of it is stored";
    on_a_stack(std::size_t{96} << 20, [&] { head = nullptr; });
}

TEST_F(ObjectDataBase, SummaryListsClassesAndObjects) {
    std::ostringstream closed;
    store->summarize(closed);
    EXPECT_EQ(closed.str(), "");
    open();
    Sample a(1, 3);
    ERSegment2D s(ERPoint2D(0, 0), ERPoint2D(3, 4));
    store->Store(a);
    store->Store(s);
    std::ostringstream out;
    store->summarize(out);
    const std::string stars(61, '*');
    const std::string dashes(44, '-');
    const std::string text = out.str();
    EXPECT_EQ(text.substr(0, text.find("|        1")),
              stars +
                  "\n  Base de Donn\xE9"
                  "es :  store\n" +
                  stars + "\n File Manager : \n" + dashes + "\nliste des classes presentes  : \n" +
                  " Signature        2 :  ERSegment2D\n Signature        1 :  Sample\n" + dashes +
                  "\n|       liste des objects                  |\n" + dashes +
                  "\n|ObjectID | Location | Signature             |\n");
    EXPECT_EQ(text.substr(text.find("|        1")), "|        1|     1768 |        1\n"
                                                    "|        2|     2040 |        2\n");
}

} // namespace
