// How the library joins the application that loads it.
#include "support/test.h"
#include "velm/numerics/module.h"
#include "velm/platform/debug_output.h"

namespace {

int entries_of_velm() {
    int count = 0;
    for (CDynLinkLibrary const* l = AfxGetAppModuleState()->m_libraryList; l; l = l->m_pNextDLL)
        count += dynamic_cast<CDynLinkLibraryVELM const*>(l) != nullptr;
    return count;
}

// In a separate process: the first sink receives the output written while the library loaded.
TEST(ModuleDeathTest, AnnouncesItselfOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::string text;
            velm::set_debug_sink(
                [](char const* more, void* to) { *static_cast<std::string*>(to) += more; }, &text);
            InitVelmDLL();
            velm::set_debug_sink(nullptr);
            std::_Exit(text == "VELM.DLL Initializing!\n" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Module, EntersItselfAndAgainOnEachCall) {
    EXPECT_EQ(entries_of_velm(), 1);
    InitVelmDLL();
    EXPECT_EQ(entries_of_velm(), 2);
    delete AfxGetAppModuleState()->m_libraryList;

    AFX_MODULE_STATE library_of_the_host;
    AFX_MODULE_STATE* const before = AfxSetModuleState(&library_of_the_host);
    EXPECT_EQ(&getFactiorielleFactory(), &theFactorielleFactory); // velm isn't entered there
    InitVelmDLL();
    auto* const entry = dynamic_cast<CDynLinkLibraryVELM*>(library_of_the_host.m_libraryList);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(&getFactiorielleFactory(), &entry->factory);
    AfxSetModuleState(before);
    EXPECT_EQ(entries_of_velm(), 1);
    delete entry;
}

} // namespace
