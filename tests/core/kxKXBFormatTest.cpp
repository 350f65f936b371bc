// The native format: what is written comes back; what is damaged or hostile is refused without harm.
#include "platform/core/kxKXBFormat.h"

#include "platform/core/kxKXBFile.h"
#include "platform/core/kxKXBLayout.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxResource.h"
#include "tests/core/coreTestClasses.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>

#include <unistd.h>

namespace Kel::Core
{
namespace
{

using Bytes = kxSmartPointer<kxMemoryBlock>;

Bytes bytesOf(kxObject* root)
{
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(root, "root");
    return kxKXBFormat::writeMemory(*directory);
}

template <class T>
kxSmartPointer<T> rootOf(kxMemoryBlock* bytes)
{
    auto directory = kxNew<kxDirectory>();
    EXPECT_EQ(kxKXBFormat::readMemory(bytes, "x.kxb", *directory), kSuccess);
    return kxSmartPointer<T>(directory->getEntryCount() ? kxCast<T>(directory->getEntry(0)->getObject()) : nullptr);
}

bool areEqual(const kxMemoryBlock* a, const kxMemoryBlock* b)
{
    return a->getSize() == b->getSize() && std::memcmp(a->getData(), b->getData(), a->getSize()) == 0;
}

kxSmartPointer<kxTestValues> makeValues()
{
    auto values = kxNew<kxTestValues>();
    values->_name = "all of them";
    values->_bool = false;
    values->_int = -2147483647;
    values->_unsigned = 0xFEDCBA98u;
    values->_long = -(int64_t(1) << 60);
    values->_float = std::nanf("");
    values->_double = -1e300;
    values->_string = kxStringRef(std::string_view("zero \0 within", 13));
    values->_colour = kxTestColour::BLUE;
    values->_vec2 = {-0.0f, 1e-40f};
    values->_vec3 = {4, 5, 6};
    values->_vec4 = {4, 5, 6, 7};
    values->_quat = {0.5f, 1, 2, 3};
    values->_matrix[1][2] = 9;
    values->_box = {{-1, -2, -3}, {1, 2, 3}};
    values->_object = kxNew<kxStringObj>("");
    values->_class = kxTestNode::staticMetaObject();
    values->_field = kxTestNode::staticMetaObject()->findField("_children");
    values->_memory = kxMemoryBlock::copyOf("some bytes", 10);
    values->_ints->append(-5);
    values->_notSaved = 99;
    return values;
}

template <class L, class T>
kxSmartPointer<kxListBase> listOf(std::initializer_list<T> values)
{
    auto list = kxNew<L>();
    for (const T& value : values)
        list->append(value);
    return list;
}

TEST(kxKXBFormat, EveryKindOfFieldAndListComesBack)
{
    const auto inner = kxNew<kxTestNode>("inner");
    const kxSmartPointer<kxListBase> lists[] = {
        nullptr,
        listOf<kxIntList, int32_t>({1, -2}),
        listOf<kxUnsignedIntList, uint32_t>({1, 0xFFFFFFFFu}),
        listOf<kxLongList, int64_t>({int64_t(1) << 40, -1}),
        listOf<kxFloatList, float>({1.5f, -0.0f}),
        listOf<kxDoubleList, double>({1.5, 1e-300}),
        listOf<kxBoolList, bool>({true, false, true}),
        listOf<kxStringRefList, kxStringRef>({"a", kxStringRef(), "", "a"}),
        listOf<kxVec3fList, kxVec3f>({{1, 2, 3}, {4, 5, 6}}),
        listOf<kxVec4fList, kxVec4f>({{1, 2, 3, 4}}),
        listOf<kxQuatfList, kxQuatf>({{1, 2, 3, 4}}),
        listOf<kxMatrix44fList, kxMatrix44f>({kxMatrix44f(2), kxMatrix44f()}),
        listOf<kxMetaObjectList, kxMetaObject*>({kxTestNode::staticMetaObject(), nullptr, kxInfo::staticMetaObject()}),
        listOf<kxMetaFieldList, kxMetaField*>({kxTestNode::staticMetaObject()->findField("_other")}),
        listOf<kxObjectList, kxObject*>({}),
    };
    for (const kxSmartPointer<kxListBase>& list : lists)
    {
        SCOPED_TRACE(list ? list->getTypeName() : "null");
        const auto values = makeValues();
        values->_list = list;
        const kxReportCollector reports;
        const Bytes bytes = bytesOf(values);
        const auto back = rootOf<kxTestValues>(bytes);
        ASSERT_NE(back, nullptr);
        ASSERT_TRUE(kxCast<kxStringObj>(back->_object));
        values->_object = back->_object; // compared by identity
        EXPECT_TRUE(back->isAlikeShallow(values));
        EXPECT_EQ(back->_notSaved, 7);
        EXPECT_FALSE(back->_string.isNull());
        EXPECT_EQ(reports.m_warnings + reports.m_errors, "");
        EXPECT_TRUE(areEqual(bytes, bytesOf(back))) << "a second file differs";
    }
}

TEST(kxKXBFormat, StructureIdentityAndOrderComeBack)
{
    auto root = kxNew<kxTestNode>("root");
    auto late = kxNew<kxTestNode>("late");
    auto early = kxNew<kxTestNode>("early");
    early->addChild(late); // owned by a younger object
    root->addChild(early);
    root->addChild(late);
    late->_other = root; // a circle
    root->_known = kxNew<kxTestNodeNonCountedList>();
    const auto stranger = kxNew<kxTestNode>("stranger");
    for (kxTestNode* node : {late.get(), root.get(), stranger.get()})
        root->_known->append(node);
    stranger->addChild(root); // a parent that is not in the file
    late->_owner = early;
    early->_owner = stranger;
    auto sorted = kxNew<kxObjectList>();
    for (kxTestNode* node : {early.get(), root.get(), late.get()})
        sorted->insertSorted(node);
    early->_other = sorted;
    auto shared = kxMemoryBlock::copyOf("0123456789", 10);
    root->_bytes = shared;
    early->_bytes = shared->slice(0, 10);
    late->_bytes = shared->slice(3, 4);

    kxTestNode::s_loaded.clear();
    kxReportCollector reports;
    const Bytes bytes = bytesOf(root);
    EXPECT_EQ(reports.m_warnings, "memory: 1 references to objects that nothing in the file owns are left out\n");
    const auto back = rootOf<kxTestNode>(bytes);
    EXPECT_EQ(nodeText(back), "root(early(late), late)");
    EXPECT_EQ(kxTestNode::s_loaded, "root late early ") << "order of creation";
    kxTestNode* early2 = back->_children->get(0);
    kxTestNode* late2 = back->_children->get(1);
    EXPECT_EQ(early2->_children->get(0), late2);
    EXPECT_EQ(late2->_other.get(), back.get());
    EXPECT_EQ(late2->_owner.get(), early2);
    EXPECT_EQ(early2->_owner.get(), nullptr);
    EXPECT_TRUE(late2->_parents->contains(early2) && late2->_parents->contains(back));
    EXPECT_EQ(back->_parents->getCount(), 0u) << "parents outside of the file";
    ASSERT_EQ(back->_known->getCount(), 3u);
    EXPECT_EQ(back->_known->get(0), late2);
    EXPECT_EQ(back->_known->get(2), nullptr);
    const auto* sorted2 = kxCast<kxObjectList>(early2->_other);
    EXPECT_TRUE(sorted2 && sorted2->findSorted(early2) >= 0 && sorted2->findSorted(late2) >= 0);

    EXPECT_EQ(back->_bytes->getData(), early2->_bytes->getData()) << "written once";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(late2->_bytes->getData()) % 16, 0u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(late2->_bytes->getData()), 4), "3456");
    EXPECT_EQ(back->_bytes->getOwner(), bytes.get()) << "shown, not copied";

    for (kxTestNode* node : {late.get(), late2, early.get(), early2})
    {
        node->_other = nullptr;
        node->_owner = nullptr;
    }
}

TEST(kxKXBFormat, FilesKeepEntriesAndReplaceTheirTargetWhole)
{
    const std::string path = std::filesystem::temp_directory_path() / kxFormat("kxbTest%d.kxb", ::getpid());
    const size_t alive = kxObject::getLiveCount();
    {
        auto file = kxNew<kxKXBFile>();
        auto scene = kxNew<kxTestNode>("scene");
        scene->_bytes = kxMemoryBlock::copyOf("bytes", 5);
        scene->addChild(kxNew<kxTestNode>("child"));
        file->addObject(scene, "main");
        file->addObject(scene, "main again");
        file->addObject(kxTestNode::staticMetaObject(), "a class");
        file->addExternal("../other.kxb", nullptr, "elsewhere");
        EXPECT_EQ(file->write(path.c_str()), 2u);

        const auto directory = kxResource::load(path.c_str());
        ASSERT_TRUE(directory->isLoaded());
        ASSERT_EQ(directory->getEntryCount(), 3u);
        EXPECT_EQ(directory->getEntry(0)->getName(), kxStringRef("main"));
        EXPECT_EQ(directory->getEntry(1)->getObject(), kxTestNode::staticMetaObject());
        const auto* external = kxCast<kxExternalDirEntry>(directory->getEntry(2));
        ASSERT_TRUE(external && !external->getObject());
        EXPECT_EQ(external->getPath(), kxStringRef("../other.kxb"));
        EXPECT_EQ(kxResource::getInfoByType(directory, "kxTestNode"), directory->getEntry(0)->getObject());

        // Written over the file that it is shown from.
        auto again = kxNew<kxKXBFile>();
        again->_directory = directory;
        EXPECT_EQ(again->write(path.c_str()), 2u);
        EXPECT_EQ(std::memcmp(kxCast<kxTestNode>(directory->getEntry(0)->getObject())->_bytes->getData(), "bytes", 5),
                  0);

        const kxReportCollector reports;
        EXPECT_EQ(kxNew<kxKXBFile>()->write(path.c_str()), 0u);
        EXPECT_EQ(file->write("/no/such/folder/a.kxb"), 0u);
        EXPECT_EQ(reports.m_errors, path + ": there is nothing to write\n" +
                                        "/no/such/folder/a.kxb: cannot be written: No such file or directory\n");
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
    std::filesystem::remove(path);
}

TEST(kxKXBFormat, AMillionObjectsInAnyShape)
{
    const size_t alive = kxObject::getLiveCount();
    for (const bool deep : {true, false})
    {
        auto root = kxNew<kxTestNode>("root");
        kxTestNode* last = root;
        for (int i = 0; i < 1000000; ++i)
        {
            auto next = kxNew<kxTestNode>();
            if (deep)
                last->_other = next;
            else
            {
                if (!root->_children)
                    root->_children = kxNew<kxTestNodeList>();
                root->_children->append(next);
            }
            last = next;
        }
        const auto back = rootOf<kxTestNode>(bytesOf(root));
        kxTestNode::s_loaded.clear();
        uint32_t count = 0;
        for (const kxTestNode* node = back; node; node = kxCast<kxTestNode>(node->_other))
            ++count;
        EXPECT_EQ(count, deep ? 1000001u : 1u);
        EXPECT_TRUE(deep || back->_children->getCount() == 1000000);
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

// --- files of other versions of the program ---

void replaceText(kxMemoryBlock* file, std::string_view from, std::string_view to)
{
    ASSERT_EQ(from.size(), to.size());
    uint8_t* data = file->getWritableData();
    const std::string_view all(reinterpret_cast<const char*>(data), file->getSize());
    const size_t at = all.find(from);
    ASSERT_NE(at, std::string_view::npos) << from;
    std::memcpy(data + at, to.data(), to.size());
    kxKXBFormat::seal(data, file->getSize());
}

const KXB::Section* findSection(const kxMemoryBlock* file, uint32_t id)
{
    const auto* sections = reinterpret_cast<const KXB::Section*>(file->getData() + sizeof(KXB::Header));
    for (uint32_t i = 0; i < KXB::kSectionCount; ++i)
        if (sections[i].id == id)
            return &sections[i];
    return nullptr;
}

// Changes the description of the field that stands at the same place in every file of `kxTestValues`.
void changeField(kxMemoryBlock* file, uint32_t index, const std::function<void(KXB::Field&)>& change)
{
    uint8_t* data = file->getWritableData();
    auto* types = reinterpret_cast<KXB::Type*>(data + findSection(file, KXB::TYPES)->offset);
    while (types->form != KXB::OBJECT)
        ++types;
    change(reinterpret_cast<KXB::Field*>(types + 1)[index]);
    kxKXBFormat::seal(data, file->getSize());
}

TEST(kxKXBFormat, FilesOutliveAChangeOfClass)
{
    struct Case
    {
        const char* name;
        std::function<void(kxMemoryBlock* file)> change;
        std::function<void(kxTestValues& expected)> expect;
        const char* warning;
    };
    const uint32_t intIndex = 3; // behind _name, _userData, _bool
    const Case cases[] = {
        {"a field that is gone", [](auto* f) { replaceText(f, "_vec3", "_gone"); },
         [](kxTestValues& v) {
             v._vec3 = {1, 2, 3};
         },
         ""},
        {"a field that is another now", [](auto* f) { replaceText(f, "_unsigned_long", "_longxxxx_long"); },
         [](kxTestValues& v) { v._unsigned = 2; }, ""},
        {"a field of another kind",
         [&](auto* f) {
             changeField(f, intIndex,
                         [](KXB::Field& field) { field.kind = static_cast<uint32_t>(kxFieldKind::FLOAT); });
         },
         [](kxTestValues& v) { v._int = -1; },
         "x.kxb: field _int of class kxTestValues has another kind now and keeps its default\n"},
        {"a field of a kind of the future",
         [&](auto* f) { changeField(f, intIndex, [](KXB::Field& field) { field.kind = 1000; }); },
         [](kxTestValues& v) { v._int = -1; },
         "x.kxb: field _int of class kxTestValues has another kind now and keeps its default\n"},
        {"a class that is gone", [](auto* f) { replaceText(f, "kxStringObj", "kxStrungObj"); },
         [](kxTestValues& v) { v._object = nullptr; },
         "x.kxb: class kxStrungObj is unknown; its objects are left out\n"},
        {"a class that is abstract", [](auto* f) { replaceText(f, "kxStringObj", "kxMetaField"); },
         [](kxTestValues& v) { v._object = nullptr; },
         "x.kxb: class kxMetaField has no objects of its own; those in the file are left out\n"},
        {"a class that is a list now", [](auto* f) { replaceText(f, "kxStringObj", "kxFloatList"); },
         [](kxTestValues& v) { v._object = nullptr; },
         "x.kxb: class kxFloatList was not a list when the file was written; its objects are left out\n"},
        {"a list class that is gone", [](auto* f) { replaceText(f, "kxIntList", "kxVec3fLi"); },
         [](kxTestValues& v) { v._ints->clear(); }, "x.kxb: class kxVec3fLi is unknown; its objects are left out\n"},
        {"a class that is referred to is gone", [](auto* f) { replaceText(f, "kxTestNode", "kxTestNone"); },
         [](kxTestValues& v)
         {
             v._class = nullptr;
             v._field = nullptr;
         },
         "x.kxb: class kxTestNone is unknown; references to it become null\n"
         "x.kxb: field kxTestNone._children is unknown; references to it become null\n"},
        {"a value of an enumeration that is gone",
         [](auto* f)
         {
             const int32_t blue = -3, gone = 4;
             replaceText(f, {reinterpret_cast<const char*>(&blue), 4}, {reinterpret_cast<const char*>(&gone), 4});
         },
         [](kxTestValues& v) { v._colour = kxTestColour::GREEN; },
         "x.kxb: field _colour of class kxTestValues has no value 4; it keeps its default\n"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        const auto values = makeValues();
        const Bytes bytes = bytesOf(values);
        c.change(bytes);
        const kxReportCollector reports;
        const auto back = rootOf<kxTestValues>(bytes);
        ASSERT_NE(back, nullptr);
        c.expect(*values);
        if (values->_object)
            values->_object = back->_object;
        EXPECT_TRUE(back->isAlikeShallow(values));
        EXPECT_EQ(reports.m_warnings, c.warning);
        EXPECT_EQ(reports.m_errors, "");
    }
}

TEST(kxKXBFormat, WhatHungBelowAnUnknownClassGoesToo)
{
    const size_t alive = kxObject::getLiveCount();
    {
        auto root = kxNew<kxTestNode>("root");
        auto values = kxNew<kxTestValues>();
        auto below = kxNew<kxTestNode>("below");
        values->_object = below;
        below->_other = values; // a circle that nothing holds after loading
        root->_other = values;
        root->_known = kxNew<kxTestNodeNonCountedList>();
        root->_known->append(below);
        const Bytes bytes = bytesOf(root);
        below->_other = nullptr;
        replaceText(bytes, "kxTestValues", "kxTestUnseen");
        kxTestNode::s_loaded.clear();
        const kxReportCollector reports;
        const auto back = rootOf<kxTestNode>(bytes);
        EXPECT_EQ(kxTestNode::s_loaded, "root ");
        EXPECT_EQ(back->_other.get(), nullptr);
        EXPECT_EQ(back->_known->get(0), nullptr);
        EXPECT_EQ(reports.m_warnings, "x.kxb: class kxTestUnseen is unknown; its objects are left out\n"
                                      "x.kxb: 1 references to objects that nothing in the file owns become null\n");
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxKXBFormat, AppendedFieldsAreSavedWhereTheyWereUsed)
{
    const auto root = kxNew<kxTestNode>("root");
    kxTestNode* child = root->addChild(kxNew<kxTestNode>("child"));
    const Bytes before = bytesOf(root);
    const kxMetaField* counter =
        kxTestNode::staticMetaObject()->appendField(kxIntField::staticMetaObject(), "_fileCounter", "a counter");
    EXPECT_TRUE(areEqual(before, bytesOf(root))) << "a field that no object uses changes the file";
    *static_cast<int32_t*>(counter->getAddress(child)) = 12;
    const auto back = rootOf<kxTestNode>(bytesOf(root));
    const kxObject* child2 = back->_children->get(0);
    EXPECT_EQ(counter->getAddress(static_cast<const kxObject*>(back)), nullptr);
    ASSERT_NE(counter->getAddress(child2), nullptr);
    EXPECT_EQ(*static_cast<const int32_t*>(counter->getAddress(child2)), 12);
    // A program that does not append the field skips it.
    const Bytes bytes = bytesOf(root);
    replaceText(bytes, "_fileCounter", "_fileCountex");
    EXPECT_EQ(nodeText(rootOf<kxTestNode>(bytes)), "root(child)");
}

// --- damaged and hostile files ---

// A small file with everything in it that a file can have.
Bytes makeRichFile()
{
    auto values = makeValues();
    auto root = kxNew<kxTestNode>("root");
    kxTestNode* child = root->addChild(kxNew<kxTestNode>("child"));
    child->_other = values;
    child->_bytes = values->_memory;
    root->_known = kxNew<kxTestNodeNonCountedList>();
    root->_known->append(child);
    auto lists = kxNew<kxObjectListList>();
    lists->append(kxNew<kxObjectList>());
    lists->get(0)->append(child);
    root->_other = lists;
    values->_list = listOf<kxStringRefList, kxStringRef>({"x", "y"});
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(root, "root");
    directory->addExternalEntry("other.kxb", values, "other");
    const Bytes bytes = kxKXBFormat::writeMemory(*directory);
    child->_other = nullptr;
    root->_other = nullptr;
    return bytes;
}

// Loads what may be anything: either it fails with one line and leaves nothing behind, or it loads.
bool loadsOrFails(kxMemoryBlock* bytes)
{
    kxReportCollector reports;
    auto directory = kxNew<kxDirectory>();
    const kxResult result = kxKXBFormat::readMemory(bytes, "x.kxb", *directory);
    const auto lines = std::count(reports.m_errors.begin(), reports.m_errors.end(), '\n');
    EXPECT_EQ(lines, result == kSuccess ? 0 : 1) << reports.m_errors;
    EXPECT_TRUE(result == kSuccess || reports.m_errors.starts_with("x.kxb: ")) << reports.m_errors;
    EXPECT_TRUE(result == kSuccess || directory->getEntryCount() == 0);
    if (result == kSuccess)
        kxKXBFormat::writeMemory(*directory); // everything can be walked
    takeApart(*directory);
    kxTestNode::s_loaded.clear();
    return result == kSuccess;
}

TEST(kxKXBFormat, DamagedFilesAreRefused)
{
    const Bytes good = makeRichFile();
    EXPECT_TRUE(loadsOrFails(good));
    const size_t alive = kxObject::getLiveCount();
    for (size_t size = 0; size < good->getSize(); ++size)
        EXPECT_FALSE(loadsOrFails(kxMemoryBlock::copyOf(good->getData(), size))) << size << " bytes";
    for (size_t at = 0; at < good->getSize(); ++at)
        for (int bit = 0; bit < 8; ++bit)
        {
            const Bytes bad = kxMemoryBlock::copyOf(good->getData(), good->getSize());
            bad->getWritableData()[at] ^= static_cast<uint8_t>(1 << bit);
            EXPECT_FALSE(loadsOrFails(bad)) << "bit " << bit << " of byte " << at;
        }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxKXBFormat, HostileFilesDoNoHarm)
{
    const Bytes good = makeRichFile();
    const size_t alive = kxObject::getLiveCount();
    size_t loaded = 0;
    auto tryWith = [&](size_t at, const void* bytes, size_t count)
    {
        const Bytes bad = kxMemoryBlock::copyOf(good->getData(), good->getSize());
        std::memcpy(bad->getWritableData() + at, bytes, count);
        kxKXBFormat::seal(bad->getWritableData(), bad->getSize());
        loaded += loadsOrFails(bad);
        ASSERT_EQ(kxObject::getLiveCount(), alive + 1) << "byte " << at;
    };
    for (size_t at = 0; at + KXB::kTrailerBytes < good->getSize(); ++at)
        for (int bit = 0; bit < 8; ++bit)
        {
            const auto byte = static_cast<uint8_t>(good->getData()[at] ^ (1 << bit));
            tryWith(at, &byte, 1);
        }
    for (size_t at = 0; at + KXB::kTrailerBytes < good->getSize(); at += 4)
        for (const uint32_t word : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 0x7FFFFFFFu, 0xFFFFFFF0u, 0xFFFFFFFFu})
            tryWith(at, &word, sizeof word);
    EXPECT_GT(loaded, 1000u) << "the changes do not get past the first checks";
}

TEST(kxKXBFormat, RefusalsSayWhatIsWrong)
{
    struct Case
    {
        std::function<Bytes()> make;
        const char* error;
    };
    const auto changed = [](size_t at, uint32_t word)
    {
        const Bytes bytes = makeRichFile();
        std::memcpy(bytes->getWritableData() + at, &word, sizeof word);
        kxKXBFormat::seal(bytes->getWritableData(), bytes->getSize());
        return bytes;
    };
    const Case cases[] = {
        {[] { return kxMemoryBlock::copyOf("", 0); }, "is not a KXB file"},
        {[] { return kxMemoryBlock::copyOf("glTF, or anything else that is long enough", 40); }, "is not a KXB file"},
        {[&] { return changed(offsetof(KXB::Header, version), 2); },
         "has version 2 of the format; this program reads versions up to 1"},
        {[] { return kxMemoryBlock::copyOf(makeRichFile()->getData(), 64); },
         "is cut short or too long: it has 64 bytes"},
        {[]
         {
             const Bytes bytes = makeRichFile();
             bytes->getWritableData()[200] ^= 1;
             return bytes;
         },
         "is damaged: the checksum does not fit its contents"},
        {[]
         {
             const auto list = kxNew<kxObjectList>();
             list->append(list);
             const Bytes bytes = bytesOf(list);
             list->clear();
             return bytes;
         },
         "is damaged: it has a list that holds itself"},
        {[]
         {
             auto list = kxNew<kxObjectList>();
             for (int i = 0; i < 64; ++i)
             {
                 auto outer = kxNew<kxObjectList>();
                 outer->append(list);
                 list = outer;
             }
             return bytesOf(list);
         },
         "has lists within lists, 65 deep; 64 is the most"},
        {[] { return bytesOf(kxNew<kxTestNode>("refused")); }, "the node is called refused"},
    };
    for (const Case& c : cases)
    {
        const Bytes bytes = c.make();
        const kxReportCollector reports;
        auto directory = kxNew<kxDirectory>();
        EXPECT_EQ(kxKXBFormat::readMemory(bytes, "x.kxb", *directory), kFailure);
        EXPECT_TRUE(reports.m_errors.starts_with(std::string("x.kxb: ") + c.error)) << reports.m_errors << c.error;
    }
}

} // namespace
} // namespace Kel::Core
