#include "velm/frame/point23_list.h"

#include "support/memory_file.h"
#include "velm/frame/smart_pointer.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using velm_test::MemoryFile;

ERVecPoint23 sampled(int n) {
    ERPoint23List list;
    for (int i = 0; i < n; ++i)
        list.append({i + 0.25, -1.0 * i, 3.0}, {0.5 * i, 1e300});
    return ERVecPoint23(list);
}

TEST(VecPoint23, HoldsTheListsPointsInOrder) {
    const ERVecPoint23 points = sampled(3000);
    ASSERT_EQ(points.entries(), 3000);
    for (int i = 0; i < 3000; ++i) {
        ASSERT_EQ(points.toVec()[i], ERPoint3D(i + 0.25, -1.0 * i, 3.0));
        ASSERT_EQ(points.toVec2D()[i], ERPoint2D(0.5 * i, 1e300));
    }
    std::ostringstream text;
    sampled(2).printOn(text);
    EXPECT_EQ(text.str(), "[0.25,-0,3] [0,1e+300]\n[1.25,-1,3] [0.5,1e+300]\n");
}

TEST(VecPoint23, IsMadeByNameAndReadBack) {
    const ERVecPoint23 points = sampled(2);
    MemoryFile file;
    file << points;
    EXPECT_EQ(file.bytes.size(), 2 * 4 + 2 * 24 + 2 * 16u);
    EXPECT_EQ(points.binaryStoreSize(), file.bytes.size());
    EXPECT_EQ(file.bytes.substr(0, 4), std::string("\x30\0\0\0", 4));
    EXPECT_EQ(file.bytes.substr(52, 4), std::string("\x20\0\0\0", 4));

    auto* const creator = ERClassRegistration::findCreator("ERVecPoint23");
    ASSERT_NE(creator, nullptr);
    const t_SmartPtr<ERVecPoint23> read(ERVecPoint23::castdown(creator()));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->entries(), 0);
    file.SeekToBegin();
    file >> *read;
    const t_SmartPtr<ERVecPoint23> copy(ERVecPoint23::castdown(read->getCopy()));
    MemoryFile again;
    again << *copy;
    EXPECT_EQ(again.bytes, file.bytes);
    EXPECT_EQ(copy->isValid(), 1);

    MemoryFile cut(file.bytes.substr(0, 60)); // the parameters are missing
    ERVecPoint23 partly;
    cut >> partly;
    EXPECT_EQ(partly.isValid(), 0);
    std::ostringstream text;
    partly.printOn(text);
    EXPECT_EQ(text.str(), "");
}

} // namespace
