// Lists against plain models, with random operations from fixed seeds.
#include "platform/core/kxObjectList.h"
#include "platform/core/kxTCompoundList.h"
#include "tests/core/coreTestClasses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace Kel::Core
{
namespace
{

struct ModelCase
{
    const char* name;
    size_t objects;  ///< that the list is filled from
    uint32_t filled; ///< elements at the start
    int steps;
    unsigned seeds;
    bool unique; ///< an object stands in the list at most once: long lists of such have an index
};

const ModelCase kModelCases[] = {
    {"short", 20, 0, 300, 200, false},
    {"long, each object once", 1500, 700, 1500, 20, true},
    {"long, with repetitions", 300, 700, 1000, 20, false},
};

TEST(kxObjectList, BehavesLikeAVector)
{
    const size_t alive = kxObject::getLiveCount();
    for (const ModelCase& c : kModelCases)
        for (unsigned seed = 0; seed < c.seeds; ++seed)
        {
            std::mt19937 random(seed);
            std::vector<kxSmartPointer<kxObject>> pool;
            for (size_t i = 0; i < c.objects; ++i)
                pool.emplace_back(kxNew<kxTestNode>());
            const auto list = kxNew<kxObjectList>();
            std::vector<kxObject*> model;
            auto choose = [&]() -> kxObject*
            {
                kxObject* object = random() % 8 ? pool[random() % pool.size()].get() : nullptr;
                return c.unique && std::find(model.begin(), model.end(), object) != model.end() ? nullptr : object;
            };
            for (uint32_t i = 0; i < c.filled; ++i)
            {
                model.push_back(choose());
                list->append(model.back());
            }
            uint32_t at = 0;
            for (int step = 0; step < c.steps; ++step)
            {
                kxObject* object = choose();
                const auto count = static_cast<uint32_t>(model.size());
                // Edits cluster, as those of a walk do, and jump now and then.
                at = random() % 8 ? std::min(at + static_cast<uint32_t>(random() % 3), count - (count > 0))
                                  : static_cast<uint32_t>(random() % (count + 1)) % std::max(count, 1u);
                // Some seeds mostly grow, some mostly shrink, some work like a queue.
                switch ((random() % 8 + seed) % 11)
                {
                case 0:
                case 1:
                    list->append(object);
                    model.push_back(object);
                    break;
                case 2:
                case 3:
                    list->insert(at, object);
                    model.insert(model.begin() + at, object);
                    break;
                case 4:
                    if (count)
                    {
                        list->set(at, object);
                        model[at] = object;
                    }
                    break;
                case 5:
                case 6:
                    if (count)
                    {
                        list->removeAt(at);
                        model.erase(model.begin() + at);
                    }
                    break;
                case 7:
                    if (count)
                    {
                        list->removeAt(0);
                        model.erase(model.begin());
                    }
                    break;
                case 8:
                    if (count)
                    {
                        list->removeLast();
                        model.pop_back();
                    }
                    break;
                case 9:
                    for (int question = 0; question < 20; ++question)
                    {
                        const kxObject* wanted = random() % 2 && count ? model[random() % count] : choose();
                        const auto start = static_cast<uint32_t>(random() % 3 ? 0 : random() % (count + 2));
                        const auto from = model.begin() + std::min(start, count);
                        const auto place = std::find(from, model.end(), wanted);
                        ASSERT_EQ(list->find(wanted, start), place == model.end() ? -1 : place - model.begin())
                            << c.name << " " << seed << " " << step;
                    }
                    // Removals by value in a row, with nothing that reads the list in order between them.
                    for (int removal = 0; removal < 5; ++removal)
                    {
                        if (!model.empty())
                            object = model[random() % model.size()];
                        const auto place = std::find(model.begin(), model.end(), object);
                        ASSERT_EQ(list->contains(object), place != model.end());
                        ASSERT_EQ(list->remove(object), place != model.end());
                        if (place != model.end())
                            model.erase(place);
                    }
                    break;
                default:
                    if (random() % 20 == 0)
                    {
                        list->clear();
                        model.clear();
                    }
                    else
                        list->reserve(count + static_cast<uint32_t>(random() % 5));
                    break;
                }
                ASSERT_EQ(list->getCount(), model.size());
                if (random() % 4 == 0)
                {
                    const auto probe = static_cast<uint32_t>(random() % (model.size() + 1));
                    ASSERT_TRUE(probe == model.size() || list->get(probe) == model[probe]) << c.name << " " << seed;
                }
                if (random() % 8 == 0) // reading a list may put its storage in order, so not after every step
                {
                    ASSERT_TRUE(std::equal(list->begin(), list->end(), model.begin(), model.end()))
                        << c.name << " " << seed << " " << step;
                }
            }
            ASSERT_TRUE(std::equal(list->begin(), list->end(), model.begin(), model.end())) << c.name << " " << seed;
            for (const auto& object : pool)
                EXPECT_EQ(object->getRefCount(),
                          1u + static_cast<uint32_t>(std::count(model.begin(), model.end(), object)));
        }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxObjectList, SortedByIdentityBehavesLikeASet)
{
    for (unsigned seed = 0; seed < 100; ++seed)
    {
        std::mt19937 random(seed);
        std::vector<kxSmartPointer<kxObject>> pool;
        for (int i = 0; i < 200; ++i)
            pool.emplace_back(kxNew<kxTestNode>());
        const auto list = kxNew<kxObjectList>();
        std::set<uint32_t> model;
        for (int step = 0; step < 300; ++step)
        {
            kxObject* object = pool[random() % pool.size()];
            switch (random() % 5)
            {
            case 0: EXPECT_EQ(list->containsSorted(object), model.contains(object->getSerial())); break;
            case 1:
                if (random() % 4 == 0) // a question that needs the order while the list is being built
                    EXPECT_EQ(list->findSorted(object) >= 0, model.contains(object->getSerial()));
                else if (random() % 4 == 0)
                {
                    EXPECT_EQ(list->remove(object), model.erase(object->getSerial()) == 1);
                }
                break;
            default: EXPECT_EQ(list->insertSorted(object), model.insert(object->getSerial()).second); break;
            }
            ASSERT_EQ(list->getCount(), model.size());
        }
        std::vector<uint32_t> serials;
        for (const kxObject* object : *list)
            serials.push_back(object->getSerial());
        EXPECT_TRUE(std::equal(serials.begin(), serials.end(), model.begin(), model.end())) << seed;
    }
}

TEST(kxObjectList, NonCountedListsHoldNothing)
{
    const auto node = kxNew<kxTestNode>();
    const auto list = kxNew<kxTestNodeNonCountedList>();
    list->append(node);
    list->insert(0, node);
    list->set(1, nullptr);
    EXPECT_EQ(node->getRefCount(), 1u);
    EXPECT_FALSE(list->accepts(list));
    EXPECT_TRUE(list->accepts(nullptr));
    EXPECT_TRUE(list->isOfType(kxTestNodeList::staticMetaObject()));
}

TEST(kxTCompoundList, KeepsTheOrderOfItsComparison)
{
    // By the tens, backwards: the ones tell values apart that compare equal.
    const auto byTens = [](const int& a, const int& b, void* context)
    {
        const int direction = *static_cast<int*>(context);
        return direction * (a / 10 - b / 10);
    };
    int backwards = -1;
    for (unsigned seed = 0; seed < 50; ++seed)
    {
        std::mt19937 random(seed);
        kxTCompoundList<int> list(byTens, &backwards);
        std::vector<int> model;
        for (int step = 0; step < 100; ++step)
        {
            const int value = static_cast<int>(random() % 200);
            const auto equal = [&](int other) { return other / 10 == value / 10; };
            const auto first = std::find_if(model.begin(), model.end(), equal);
            ASSERT_EQ(list.findSorted(value), first == model.end() ? -1 : first - model.begin());
            ASSERT_EQ(list.find(value), list.findSorted(value));
            const auto behind = std::find_if(model.begin(), model.end(), [&](int o) { return o / 10 < value / 10; });
            bool added = false;
            switch (random() % 4)
            {
            case 0:
                ASSERT_EQ(list.insertSorted(value), static_cast<uint32_t>(behind - model.begin()));
                model.insert(behind, value);
                break;
            case 1:
                list.addUnique(value, &added);
                ASSERT_EQ(added, first == model.end());
                if (added)
                    model.insert(behind, value);
                break;
            case 2:
                ASSERT_EQ(list.removeSorted(value), first != model.end());
                if (first != model.end())
                    model.erase(first);
                break;
            default:
                list.append(value);
                list.sort();
                model.insert(behind, value);
                break;
            }
            ASSERT_TRUE(std::equal(list.begin(), list.end(), model.begin(), model.end())) << seed << " " << step;
        }
        list.setCompare(nullptr);
        std::sort(model.begin(), model.end());
        EXPECT_TRUE(std::equal(list.begin(), list.end(), model.begin(), model.end()));
    }
}

} // namespace
} // namespace Kel::Core
