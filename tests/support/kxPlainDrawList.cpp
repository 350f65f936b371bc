#include "tests/support/kxPlainDrawList.h"

#include "platform/core/kxReport.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTextScene.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxUserInfo.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

namespace Kel::Test
{

namespace
{

// Takes the names out of a text: strings that stand behind a class, its label or its marks.
std::string withoutNames(const std::string& text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i)
    {
        result += text[i];
        if (text[i] != '"')
            continue;
        size_t end = i + 1;
        while (text[end] != '"')
            end += text[end] == '\\' ? 2 : 1;
        const char before = i >= 2 && text[i - 1] == ' ' ? text[i - 2] : ' ';
        if (std::isalnum(static_cast<unsigned char>(before)) ||
            std::string_view("_!~^").find(before) != std::string::npos)
            result.resize(result.size() - 2);
        else
            result.append(text, i + 1, end - i);
        i = end;
    }
    return result;
}

std::string describe(const kxObject* object)
{
    return withoutNames(kxTextScene::print(object));
}

// What a node says by itself: without its children, without the attributes and matrices that are collected apart.
std::string describeNode(const kxNode* node)
{
    const kxMetaObject* apart[] = {kxNode::staticMetaObject(), kxGroup::staticMetaObject(),
                                   kxAttrSet::staticMetaObject(), kxTransform::staticMetaObject()};
    static const kxStringRef center = "_center";
    kxSmartPointer<kxObject> copy = node->getMetaObject()->createInstance();
    for (const kxMetaField* field : node->getMetaObject()->getFields())
        if (!field->isAppended() &&
            std::find(std::begin(apart), std::end(apart), field->getOwner()) == std::end(apart) &&
            !(kxCast<kxLod>(node) && field->getName() == center))
            field->copyValue(field->getAddress(copy.get()), field->getAddress(node));
    return describe(copy);
}

// The matrix of a node that decides by its place, a level of detail's from its centre.
kxMatrix44d placeOf(const kxNode* node, kxMatrix44d matrix)
{
    if (const auto* lod = kxCast<kxLod>(node))
    {
        kxVec3d center;
        matrix.multVecMatrix(kxVec3d(lod->_center), center);
        for (int i = 0; i < 3; ++i)
            matrix[3][i] = center[i];
    }
    return matrix;
}

// What is known on the way down.
struct Path
{
    using Key = std::pair<uint32_t, uint32_t>; // index of the type, unit
    struct Setting
    {
        const kxAttr* attr;
        bool isOverride;
    };

    kxMatrix44d matrix;
    std::map<Key, Setting> attributes;
    std::string conditions;
    std::vector<double> numbers;

    void add(const kxMatrix44d& m) { numbers.insert(numbers.end(), &m[0][0], &m[0][0] + 16); }
    void set(const kxAttr* attr, bool isOverride)
    {
        Setting& setting = attributes[{attr->getMetaObject()->getIndex(), attr->getUnit()}];
        if (!setting.attr || !setting.isOverride)
            setting = {attr, isOverride};
    }
};

bool isSilent(const kxNode* node)
{
    // What these say is in the matrix, in the attributes or is not drawn.
    for (const kxMetaObject* type :
         {kxGroup::staticMetaObject(), kxTransform::staticMetaObject(), kxAttrSet::staticMetaObject(),
          kxOverrideAttrSet::staticMetaObject(), kxGeometry::staticMetaObject(), kxMesh::staticMetaObject(),
          kxCompiledGraph::staticMetaObject(), kxSegment::staticMetaObject(), kxUserInfo::staticMetaObject(),
          kxLightSet::staticMetaObject()})
        if (node->isOfExactType(type))
            return true;
    return false;
}

class Collector
{
public:
    std::vector<PlainDraw> draws;

    void visit(const kxNode* node, Path path)
    {
        if (const auto* transform = kxCast<kxTransform>(node))
            path.matrix = kxMatrix44d(transform->getMatrix()) * path.matrix;
        const auto* set = kxCast<kxAttrSet>(node);
        const bool isOverride = node->isOfType(kxOverrideAttrSet::staticMetaObject());
        if (set)
            for (const kxAttr* attr : *set->getAttrs())
                if (attr && !attr->isOfType(kxGeometryAttr::staticMetaObject()))
                    path.set(attr, isOverride);
        if (!isSilent(node) && node->isOfType(kxGroup::staticMetaObject()))
        {
            path.conditions += describeNode(node) + " ";
            path.add(placeOf(node, path.matrix));
        }
        if (kxCast<kxGeometry>(node))
            for (const kxAttr* attr : *set->getAttrs())
                if (const auto* data = kxCast<kxGeometryAttr>(attr))
                    if (data->getDrawCount() > 0)
                        draw(describe(data), path);
        if (kxCast<kxCamera>(node))
            draw(describe(node), path);
        if (const auto* lights = kxCast<kxLightSet>(node))
            for (const kxLightAttr* light : *lights->getLightAttrs())
                if (light)
                    draw(describe(light), path);

        const auto* group = kxCast<kxGroup>(node);
        const bool isChoice = kxCast<kxSwitch>(node) || kxCast<kxLod>(node);
        for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
            if (const kxNode* child = group->getChild(i))
            {
                Path below = path;
                if (isChoice)
                    below.conditions += kxFormat("child %u ", i);
                visit(child, std::move(below));
            }
    }

private:
    void draw(std::string what, const Path& path)
    {
        what += " with";
        for (const auto& [key, setting] : path.attributes)
            what.append(" ").append(describe(setting.attr));
        what += " under " + path.conditions;
        PlainDraw draw{std::move(what), {}};
        draw.numbers.assign(&path.matrix[0][0], &path.matrix[0][0] + 16);
        draw.numbers.insert(draw.numbers.end(), path.numbers.begin(), path.numbers.end());
        draws.push_back(std::move(draw));
    }
};

bool areSimilar(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t matrix = 0; matrix < a.size(); matrix += 16)
    {
        double largest = 0;
        for (size_t i = matrix; i < matrix + 16; ++i)
            largest = std::max({largest, std::abs(a[i]), std::abs(b[i])});
        for (size_t i = matrix; i < matrix + 16; ++i)
            if (std::abs(a[i] - b[i]) > 1e-5 * largest)
                return false;
    }
    return true;
}

std::string describeDraw(const PlainDraw& draw)
{
    std::string text = draw.what + "\n    at";
    for (size_t i = 0; i < 16; ++i)
        text += kxFormat(" %g", draw.numbers[i]);
    return text + "\n";
}

} // namespace

std::vector<PlainDraw> drawList(const kxNode* root)
{
    Collector collector;
    if (root)
        collector.visit(root, {});
    return collector.draws;
}

std::string compareDrawLists(const std::vector<PlainDraw>& before, const std::vector<PlainDraw>& after)
{
    std::multimap<std::string_view, const PlainDraw*> left;
    for (const PlainDraw& draw : after)
        left.emplace(draw.what, &draw);
    std::string differences;
    for (const PlainDraw& draw : before)
    {
        const auto [first, last] = left.equal_range(draw.what);
        const auto partner = std::find_if(
            first, last, [&](const auto& other) { return areSimilar(draw.numbers, other.second->numbers); });
        if (partner != last)
            left.erase(partner);
        else
            differences += "  gone: " + describeDraw(draw);
    }
    for (const auto& [what, draw] : left)
        differences += "  new: " + describeDraw(*draw);
    return differences;
}

} // namespace Kel::Test
