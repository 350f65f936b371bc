// Matching of draw lists.
//
// Draws with equal contents form a class. Within a class matrices are matched through one number each, a sum of their
// elements with fixed weights: matrices within the tolerance have sums within a window, so each draw looks at few
// others.
#include "opt/verify/kxPictureComparison.h"

#include "opt/verify/kxSurfaceMatching.h"
#include "platform/core/kxReport.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <unordered_map>

namespace Kel::Opt
{

namespace
{

using Draw = kxDrawList::Draw;

constexpr size_t kLinearCount = 9; // numbers of the matrix before the translation

// Without a common divisor, so that moves along one axis are not taken for moves along another.
const double kWeights[12] = {1.0,    0.7368, 1.2113, 0.5917, 1.3571, 0.8429,
                             1.1037, 0.6691, 1.4233, 0.9173, 1.2791, 0.7879};

// Numbers that are not finite come from broken files; they are sorted as zeros and compared as they are.
double finite(double number)
{
    return std::isfinite(number) ? number : 0;
}

double weightedSum(const Draw& draw)
{
    double sum = 0;
    for (size_t i = 0; i < 12; ++i)
        sum += kWeights[i] * finite(draw.matrix[i]);
    return sum;
}

double largest(const Draw& draw, size_t first, size_t end)
{
    double value = 0;
    for (size_t i = first; i < end; ++i)
        value = std::max(value, std::abs(finite(draw.matrix[i])));
    return value;
}

double extentOf(const kxDrawList& list)
{
    double extent = 0;
    for (const Draw& draw : list.getDraws())
        if (draw.kind != kxDrawList::OWN_MATRIX)
            extent = std::max(extent, largest(draw, kLinearCount, 12));
    return extent;
}

// How far the matrix of a draw may be from its partner's.
struct Reach
{
    double linear;
    double translation;

    double getWindow() const
    {
        double window = 0;
        for (size_t i = 0; i < 12; ++i)
            window += kWeights[i] * (i < kLinearCount ? linear : translation);
        return window;
    }
};

class Matching
{
public:
    Matching(const kxDrawList& a, const kxDrawList& b, const kxPictureComparison::Options& options)
        : m_a(a.getDraws()), m_b(b.getDraws()), m_options(options), m_extent(std::max(extentOf(a), extentOf(b)))
    {
    }

    // What an optimization left alone is still in its order.
    bool isSameInOrder() const
    {
        if (m_a.size() != m_b.size())
            return false;
        for (size_t i = 0; i < m_a.size(); ++i)
        {
            const Draw &a = m_a[i], &b = m_b[i];
            if (classOf(a) != classOf(b) || !isNear(a, b, reachOf(a)))
                return false;
        }
        return true;
    }

    void match(std::vector<size_t>& onlyInA, std::vector<size_t>& onlyInB)
    {
        matchEntries(sortedEntries(m_a, nullptr), sortedEntries(m_b, nullptr), onlyInA, onlyInB);
    }

    // The same for draws that have no partner yet, whose images may be other ones where `areAlike` says so.
    using AreAlike = std::function<bool(const Draw& a, const Draw& b)>;
    void matchAlike(const AreAlike& areAlike, std::vector<size_t>& onlyInA, std::vector<size_t>& onlyInB)
    {
        m_areAlike = &areAlike;
        std::vector<Entry> a = sortedEntries(m_a, &onlyInA), b = sortedEntries(m_b, &onlyInB);
        onlyInA.clear();
        onlyInB.clear();
        matchEntries(std::move(a), std::move(b), onlyInA, onlyInB);
        m_areAlike = nullptr;
    }

    // The same for draws of which one, but not the other, is moved by a node without a name, by their contents and places
    // alone: what gives names to nodes changes no picture.
    void matchUnnamed(const AreAlike& areAlike, std::vector<size_t>& onlyInA, std::vector<size_t>& onlyInB)
    {
        m_ignoreMovers = true;
        const auto takeUnnamed = [](std::span<const Draw> draws, std::vector<size_t>& indices)
        {
            std::vector<size_t> unnamed;
            std::erase_if(indices,
                          [&](size_t index)
                          {
                              if (draws[index].hasUnnamedMover)
                                  unnamed.push_back(index);
                              return draws[index].hasUnnamedMover;
                          });
            return unnamed;
        };
        const auto putBack = [](std::vector<size_t>& indices, const std::vector<size_t>& others)
        {
            indices.insert(indices.end(), others.begin(), others.end());
            std::sort(indices.begin(), indices.end());
        };
        std::vector<size_t> unnamed = takeUnnamed(m_a, onlyInA);
        if (!unnamed.empty())
            matchAlike(areAlike, unnamed, onlyInB);
        putBack(onlyInA, unnamed);
        unnamed = takeUnnamed(m_b, onlyInB);
        if (!unnamed.empty())
            matchAlike(areAlike, onlyInA, unnamed);
        putBack(onlyInB, unnamed);
        m_ignoreMovers = false;
    }

private:
    struct Entry
    {
        uint64_t contents;
        double sum;
        uint32_t index;
        bool matched;
    };

    void matchEntries(std::vector<Entry> a, std::vector<Entry> b, std::vector<size_t>& onlyInA,
                      std::vector<size_t>& onlyInB) const
    {
        for (size_t startA = 0, startB = 0; startA < a.size();)
        {
            const uint64_t contents = a[startA].contents;
            size_t endA = startA, endB = startB;
            while (endA < a.size() && a[endA].contents == contents)
                ++endA;
            while (startB < b.size() && b[startB].contents < contents)
                ++startB;
            for (endB = startB; endB < b.size() && b[endB].contents == contents;)
                ++endB;
            matchClass({a.data() + startA, endA - startA}, {b.data() + startB, endB - startB});
            startA = endA;
            startB = endB;
        }
        collectUnmatched(a, onlyInA);
        collectUnmatched(b, onlyInB);
    }

    uint64_t classOf(const Draw& draw) const
    {
        const uint64_t parts[6] = {draw.kind,
                                   draw.content,
                                   draw.attributes,
                                   draw.conditions,
                                   m_ignoreMovers ? 0 : draw.movers,
                                   m_options.ignoreImages || m_areAlike ? 0 : draw.images};
        return hashBytes(parts, sizeof parts);
    }

    // Of all draws, or of those with the indices.
    std::vector<Entry> sortedEntries(std::span<const Draw> draws, const std::vector<size_t>* indices) const
    {
        std::vector<Entry> entries(indices ? indices->size() : draws.size());
        for (size_t i = 0; i < entries.size(); ++i)
        {
            const size_t index = indices ? (*indices)[i] : i;
            entries[i] = {classOf(draws[index]), weightedSum(draws[index]), static_cast<uint32_t>(index), false};
        }
        std::sort(entries.begin(), entries.end(),
                  [](const Entry& a, const Entry& b)
                  {
                      if (a.contents != b.contents)
                          return a.contents < b.contents;
                      return a.sum != b.sum ? a.sum < b.sum : a.index < b.index;
                  });
        return entries;
    }

    static void collectUnmatched(const std::vector<Entry>& entries, std::vector<size_t>& indices)
    {
        for (const Entry& entry : entries)
            if (!entry.matched)
                indices.push_back(entry.index);
        std::sort(indices.begin(), indices.end());
    }

    Reach reachOf(const Draw& draw) const
    {
        return {m_options.tolerance * largest(draw, 0, kLinearCount),
                m_options.tolerance * (largest(draw, kLinearCount, 12) + 0.01 * m_extent)};
    }

    static bool isNear(const Draw& a, const Draw& b, const Reach& reach)
    {
        for (size_t i = 0; i < 12; ++i)
        {
            const double x = a.matrix[i], y = b.matrix[i];
            if (std::isfinite(x) && std::isfinite(y)
                    ? std::abs(x - y) > (i < kLinearCount ? reach.linear : reach.translation)
                    : x != y && !(std::isnan(x) && std::isnan(y)))
                return false;
        }
        return true;
    }

    // Both spans are sorted by their sums.
    void matchClass(std::span<Entry> a, std::span<Entry> b) const
    {
        // The window depends on the draw: only what lies below the widest one is out of reach of all that follow.
        double widest = 0;
        for (const Entry& entry : a)
            widest = std::max(widest, reachOf(m_a[entry.index]).getWindow());

        size_t next = 0; // first entry of b that later entries of a can still match
        for (Entry& entry : a)
        {
            const Draw& draw = m_a[entry.index];
            const Reach reach = reachOf(draw);
            const double window = reach.getWindow();
            while (next < b.size() && (b[next].matched || b[next].sum < entry.sum - widest))
                ++next;
            for (size_t at = next; at < b.size() && b[at].sum <= entry.sum + window; ++at)
                if (!b[at].matched && isNear(draw, m_b[b[at].index], reach) &&
                    (!m_areAlike || (*m_areAlike)(draw, m_b[b[at].index])))
                {
                    entry.matched = b[at].matched = true;
                    break;
                }
        }
    }

    std::span<const Draw> m_a;
    std::span<const Draw> m_b;
    const kxPictureComparison::Options& m_options;
    double m_extent;
    const AreAlike* m_areAlike = nullptr;
    bool m_ignoreMovers = false;
};

bool isSameContent(const kxDrawList& listA, const Draw& a, const kxDrawList& listB, const Draw& b, kxImageMatch& images)
{
    if (a.contentImages == b.contentImages)
        return true;
    const auto inA = listA.getContentImages(a), inB = listB.getContentImages(b);
    return !inA.empty() && std::equal(inA.begin(), inA.end(), inB.begin(), inB.end(),
                                      [&](uint32_t x, uint32_t y)
                                      { return images.isSame(listA.getImages().get(x), listB.getImages().get(y)); });
}

// The draws differ in images at most, and those are the same by `images`.
bool areAlike(const kxDrawList& listA, const Draw& a, const kxDrawList& listB, const Draw& b, kxImageMatch& images)
{
    if (a.images == b.images && a.contentImages == b.contentImages)
        return true;
    const auto inA = listA.getAttributes(a), inB = listB.getAttributes(b);
    if (inA.empty() && a.images - a.contentImages != b.images - b.contentImages)
        return false;
    return std::equal(inA.begin(), inA.end(), inB.begin(), inB.end(),
                      [&](const kxDrawList::Attribute& x, const kxDrawList::Attribute& y)
                      {
                          if (x.look == y.look)
                              return true;
                          return x.look.value == y.look.value && x.image != kxImageSamples::kNone &&
                                 y.image != kxImageSamples::kNone &&
                                 images.isSame(listA.getImages().get(x.image), listB.getImages().get(y.image));
                      }) &&
           isSameContent(listA, a, listB, b, images);
}

} // namespace

bool kxPictureComparison::compare(const kxDrawList& a, const kxDrawList& b)
{
    m_onlyInA.clear();
    m_onlyInB.clear();
    Matching matching(a, b, m_options);
    if (matching.isSameInOrder())
        return true;
    matching.match(m_onlyInA, m_onlyInB);
    const auto alike = [&](const Draw& x, const Draw& y)
    { return m_options.ignoreImages || areAlike(a, x, b, y, m_images); };
    if (!m_options.ignoreImages && !m_onlyInA.empty() && !m_onlyInB.empty())
        matching.matchAlike(alike, m_onlyInA, m_onlyInB);
    if (!m_onlyInA.empty() && !m_onlyInB.empty())
        matching.matchUnnamed(alike, m_onlyInA, m_onlyInB);
    matchSurfaces(a, b, m_options.ignoreImages, m_onlyInA, m_onlyInB);
    return m_onlyInA.empty() && m_onlyInB.empty();
}

namespace
{

const char* nameOf(kxDrawList::Kind kind)
{
    switch (kind)
    {
    case kxDrawList::GEOMETRY: return "geometry";
    case kxDrawList::CAMERA: return "camera";
    case kxDrawList::LIGHT: return "light";
    case kxDrawList::DRIVEN: return "driven node";
    case kxDrawList::OWN_MATRIX: return "own matrix of driven node";
    case kxDrawList::PLACE: return "place of";
    }
    return "";
}

std::string nameOf(const kxDrawList::Attribute& attribute)
{
    std::string name = attribute.type.str();
    if (!attribute.slot.isEmpty())
        name.append(" ").append(attribute.slot.view());
    return name;
}

// Nothing for images that are the same.
std::string imageDifferenceOf(const kxDrawList& listA, const kxDrawList::Attribute& a, const kxDrawList& listB,
                              const kxDrawList::Attribute& b, kxImageMatch& images)
{
    if (a.image == kxImageSamples::kNone || b.image == kxImageSamples::kNone)
        return " has another image";
    const kxImageSamples::Sample &x = listA.getImages().get(a.image), &y = listB.getImages().get(b.image);
    if (images.isSame(x, y))
        return "";
    const double difference = images.getDifference(x, y);
    return difference < 0 ? " has another image" : kxFormat(" has another image (difference %.3g of 255)", difference);
}

// What differs between two draws that belong together by their contents.
std::string differenceOf(const kxDrawList& listA, const Draw& a, const kxDrawList& listB, const Draw& b,
                         kxImageMatch& images, bool ignoreImages)
{
    std::string text;
    auto add = [&](const std::string& part) { text.append(text.empty() ? "" : ", ").append(part); };
    if (a.attributes != b.attributes || a.images != b.images)
    {
        const auto inA = listA.getAttributes(a), inB = listB.getAttributes(b);
        auto find = [](auto list, const kxDrawList::Attribute& wanted)
        {
            for (const kxDrawList::Attribute& attribute : list)
                if (attribute.type == wanted.type && attribute.slot == wanted.slot)
                    return &attribute;
            return static_cast<const kxDrawList::Attribute*>(nullptr);
        };
        for (const kxDrawList::Attribute& attribute : inA)
        {
            const kxDrawList::Attribute* other = find(inB, attribute);
            if (!other)
                add(nameOf(attribute) + " is gone");
            else if (other->look.value != attribute.look.value)
                add(nameOf(attribute) + " differs");
            else if (other->look.images != attribute.look.images && !ignoreImages)
                if (const std::string text = imageDifferenceOf(listA, attribute, listB, *other, images); !text.empty())
                    add(nameOf(attribute) + text);
        }
        for (const kxDrawList::Attribute& attribute : inB)
            if (!find(inA, attribute))
                add(nameOf(attribute) + " is new");
    }
    if (!ignoreImages && !isSameContent(listA, a, listB, b, images))
        add("a texture of its material variants has another image");
    if (a.conditions != b.conditions)
        add("conditions of the path differ");
    if (a.movers != b.movers)
        add("is moved by nodes of other names");
    double moved = 0;
    for (size_t i = 0; i < 12; ++i)
        moved = std::max(moved, std::abs(double(a.matrix[i]) - double(b.matrix[i])));
    if (text.empty() || moved > 1e-3 * std::max(1.0, largest(a, 0, 12)))
        add(kxFormat("matrix differs by up to %g", moved));
    return text;
}

} // namespace

std::vector<std::string> kxPictureComparison::describe(const kxDrawList& a, const kxDrawList& b, size_t maxLines) const
{
    std::vector<std::string> lines;
    // Partners by content, so that "moved" is told from "gone" and "new"; the first of each content is taken first.
    auto contentOf = [](const Draw& draw)
    {
        // What is drawn may have come below another driven node; such a node is nothing but its name.
        const bool isMover = draw.kind == kxDrawList::DRIVEN || draw.kind == kxDrawList::OWN_MATRIX;
        return combineHash(combineHash(draw.content, draw.kind), isMover ? draw.movers : 0);
    };
    std::unordered_map<uint64_t, std::vector<size_t>> partners;
    for (size_t i = m_onlyInB.size(); i-- > 0;)
        partners[contentOf(b.getDraws()[m_onlyInB[i]])].push_back(m_onlyInB[i]);
    std::vector<bool> used(b.getDraws().size(), false);

    size_t differenceCount = 0;
    auto add = [&](auto makeLine)
    {
        if (differenceCount++ < maxLines)
            lines.push_back(makeLine());
    };
    for (size_t index : m_onlyInA)
    {
        const Draw& draw = a.getDraws()[index];
        const auto found = partners.find(contentOf(draw));
        if (found == partners.end() || found->second.empty())
        {
            add([&] { return kxFormat("%s %s is only in the first", nameOf(draw.kind), a.getPath(draw).c_str()); });
            continue;
        }
        const size_t partner = found->second.back();
        found->second.pop_back();
        used[partner] = true;
        add(
            [&]
            {
                return kxFormat(
                    "%s %s: %s", nameOf(draw.kind), a.getPath(draw).c_str(),
                    differenceOf(a, draw, b, b.getDraws()[partner], m_images, m_options.ignoreImages).c_str());
            });
    }
    for (size_t index : m_onlyInB)
        if (!used[index])
        {
            const Draw& draw = b.getDraws()[index];
            add([&] { return kxFormat("%s %s is only in the second", nameOf(draw.kind), b.getPath(draw).c_str()); });
        }
    if (differenceCount > maxLines)
        lines.push_back(kxFormat("and %zu more", differenceCount - maxLines));
    return lines;
}

} // namespace Kel::Opt
