// Prints scenes in their text form. Two walks: the first finds what occurs more than once and needs a label, the second
// prints. Both keep what is still to be done on a stack of their own, so depth costs no stack frames.
#include "platform/sg/kxTextScene.h"

#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxTextValues.h"
#include "platform/sg/kxTextWords.h"
#include "platform/sg/kxTransform.h"

#include <unordered_map>
#include <unordered_set>

namespace Kel::Sg
{

namespace
{

// Deeper nodes are given their depth as a number: a deep chain would be all blanks.
constexpr uint32_t kMaxTreeIndent = 32;
// Depth of what stands within the line of another object.
constexpr uint32_t kInLine = ~0u;

class Printer : private kxTextWriter
{
public:
    Printer(const kxDataPumpInfo* dataPumps, kxTextScene::Form form)
        : kxTextWriter(form == kxTextScene::TREE), m_isTree(form == kxTextScene::TREE)
    {
        if (dataPumps)
            for (const kxDataPump* pump : *dataPumps->getList())
                if (pump && pump->getDestObj())
                    m_locked.insert(pump->getDestObj());
    }

    std::string print(const kxObject* root);

private:
    // What the first walk found out about an object that several references may reach.
    struct Shared
    {
        uint32_t occurrences = 0;
        bool isWanted = false; // a list that does not hold it wants its label
        bool isPrinted = false;
        std::string label;
    };
    // Something still to be printed.
    struct Item
    {
        enum Kind
        {
            OBJECT,
            CHILD,       // in the tree form: on a line of its own
            WEAK_OBJECT, // an element of a list that does not hold it
            FIELD,
            TEXT
        };
        Kind kind;
        uint32_t depth;
        const void* what;
        const kxMetaObject* wanted;
    };

    void survey(const kxObject* root);
    void forEachReference(const kxObject* object, const auto& callback);

    void printObject(const kxObject* object, const kxMetaObject* wanted, uint32_t depth);
    void printHead(const kxObject* object, const kxTextClass& textClass);
    void printBody(const kxObject* object, const kxTextClass& textClass, bool isWord, uint32_t depth);
    const kxTextureAttr* findTextureOfPaths(const kxObject* object, const kxTextClass& textClass);
    std::string rootWordOf(const kxMetaObject* type);
    bool printWordOfData(const kxGeometryAttr* data, bool& isReference);
    void printMain(const kxObject* object, const kxTextClass& textClass);
    void printValues(const kxObject* object, const kxTextClass& textClass);
    void printParts(const kxTransform* transform);
    bool printsTextureAsPath(const kxTextureAttr* texture);
    bool isImageOfPath(const kxImage* image);
    void printPaths(const kxTextureAttr* texture);
    void printWeak(const kxObject* object, const kxMetaObject* wanted);
    void printLine(uint32_t depth);

    void beginField(const kxMetaField* field);
    void printValue(const kxMetaField& field, const void* value);
    void printListField(const kxListBase& list);

    Shared* sharedOf(const kxObject* object);
    const std::string& labelOf(const kxObject* object, Shared& shared);
    void later(Item::Kind kind, const void* what, const kxMetaObject* wanted = nullptr, uint32_t depth = kInLine)
    {
        m_later.push_back({kind, depth, what, wanted});
    }
    void listLater(const kxObjectList* list, const char* open, const char* close);

    bool m_isTree;
    bool m_hasFields = false; // the square bracket of the object now printed is open
    bool m_hasWanted = false; // an object may want a label whatever the number of references to it
    std::vector<Item> m_stack;
    std::vector<Item> m_later; // of the object now printed, in order
    kxTextClasses m_classes;
    kxTextGeometries m_geometries;
    std::unordered_set<const kxObject*> m_locked;
    std::unordered_map<const kxObject*, Shared> m_shared;
    std::unordered_map<const kxMetaObject*, uint32_t> m_lastLabels;
    std::unordered_map<std::string_view, uint32_t> m_lastWordLabels;
    std::unordered_map<uint32_t, const kxImage*> m_imageOfPath; // by the number of the path's string
};

// --- the first walk ---

// Calls back for what printing an object prints below it. Elements of lists that do not count are marked as weak.
void Printer::forEachReference(const kxObject* object, const auto& callback)
{
    if (const auto* list = kxCast<kxObjectList>(object))
        for (const kxObject* element : *list)
            if (element)
                callback(element, !list->isCounted());
    if (object->isOfType(kxListBase::staticMetaObject()))
        return;
    const kxTextClass& textClass = m_classes.of(object->getMetaObject());
    const auto visitList = [&](const kxObjectField* field)
    {
        const auto* list =
            field ? static_cast<const kxObjectList*>(field->getObject(field->getAddress(object))) : nullptr;
        if (list)
            for (const kxObject* element : *list)
                if (element)
                    callback(element, false);
    };
    for (const kxMetaField* field : textClass.values)
        if (field->getKind() == kxFieldKind::OBJECT)
        {
            const kxObject* value = static_cast<const kxObjectField*>(field)->getObject(field->getAddress(object));
            if (kxCast<kxListBase>(value))
                callback(value, false);
        }
    for (const kxObjectField* field : textClass.objects)
        if (const kxObject* referenced = field->getObject(field->getAddress(object)))
            callback(referenced, false);
    visitList(textClass.attributes);
    visitList(textClass.children);
}

void Printer::survey(const kxObject* root)
{
    // An object with one reference cannot occur twice, so only the others are kept in the table.
    std::unordered_set<const kxObject*> wanted;
    for (int pass = 0; pass < 2; ++pass)
    {
        std::vector<const kxObject*> stack{root};
        while (!stack.empty())
        {
            const kxObject* object = stack.back();
            stack.pop_back();
            if (pass == 0 && (object->getRefCount() > 1 || object == root) && ++m_shared[object].occurrences > 1)
                continue;
            if (pass == 1)
            {
                const auto known = m_shared.find(object);
                if (known != m_shared.end() && std::exchange(known->second.isPrinted, true))
                    continue;
                if (wanted.contains(object))
                    m_shared[object].isWanted = m_shared[object].isPrinted = true;
            }
            forEachReference(object,
                             [&](const kxObject* referenced, bool isWeak)
                             {
                                 if (isWeak)
                                     wanted.insert(referenced);
                                 else
                                     stack.push_back(referenced);
                             });
        }
        m_hasWanted = !wanted.empty();
        if (!m_hasWanted)
            return;
    }
    for (auto& [object, shared] : m_shared)
        shared.isPrinted = false;
}

Printer::Shared* Printer::sharedOf(const kxObject* object)
{
    if (object->getRefCount() <= 1 && !m_hasWanted)
        return nullptr;
    const auto at = m_shared.find(object);
    return at != m_shared.end() && (at->second.occurrences > 1 || at->second.isWanted) ? &at->second : nullptr;
}

const std::string& Printer::labelOf(const kxObject* object, Shared& shared)
{
    if (shared.label.empty())
        shared.label = kxFormat("#%u", ++m_lastLabels[object->getMetaObject()]);
    return shared.label;
}

// --- values ---

void Printer::printValue(const kxMetaField& field, const void* value)
{
    const auto* reference =
        field.getKind() == kxFieldKind::OBJECT ? static_cast<const kxObjectField*>(&field) : nullptr;
    if (const auto* list = reference ? kxCast<kxListBase>(reference->getObject(value)) : nullptr)
        printListField(*list);
    else
        writeValue(field, value);
}

void Printer::printListField(const kxListBase& list)
{
    bool isInParentheses = list.isEmpty() || list.getElementField()->getKind() == kxFieldKind::STRING;
    if (Shared* shared = sharedOf(&list))
    {
        m_text += m_classes.wordOf(list.getMetaObject(), list.getMetaObject());
        m_text += labelOf(&list, *shared);
        if (std::exchange(shared->isPrinted, true))
            return;
        isInParentheses = true;
    }
    if (isInParentheses)
        m_text += '(';
    writeValues(list);
    if (isInParentheses)
        m_text += ')';
}

void Printer::beginField(const kxMetaField* field)
{
    m_text += std::exchange(m_hasFields, true) ? ' ' : '[';
    std::string_view name = field->getName().view();
    if (name.starts_with('_'))
        name.remove_prefix(1);
    m_text += name;
    m_text += '=';
}

// --- short forms ---

bool isMatrixOfParts(const kxTransform* transform)
{
    return transform->_matrix == composeMatrix(transform->_translation, transform->_rotation, transform->_scale);
}

bool hasDefaultParts(const kxTransform* transform)
{
    return transform->_translation == kxVec3f(0, 0, 0) && transform->_rotation == kxQuatf(1, 0, 0, 0) &&
           transform->_scale == kxVec3f(1, 1, 1);
}

// A part that is given means that there are parts, and without a matrix the matrix is their product.
void Printer::printParts(const kxTransform* transform)
{
    const kxMetaObject* type = kxTransform::staticMetaObject();
    const bool isConsistent = transform->_hasParts == !hasDefaultParts(transform);
    static const kxStringRef names[] = {"_hasParts", "_translation", "_rotation", "_scale"};
    const kxTransform* fresh = static_cast<const kxTransform*>(m_classes.of(type).fresh.get());
    for (const kxStringRef name : names)
    {
        const kxMetaField* field = type->findField(name);
        const void* value = field->getAddress(transform);
        if (field->getKind() == kxFieldKind::BOOL ? isConsistent : field->isValueAlike(value, field->getAddress(fresh)))
            continue;
        beginField(field);
        printValue(*field, value);
    }
}

bool Printer::isImageOfPath(const kxImage* image)
{
    static const kxStringRef uri = "_uri";
    if (!image || image->_uri.isNull() || m_locked.contains(image) || isTooLong(image->_uri))
        return false;
    const kxTextClass& textClass = m_classes.of(kxImage::staticMetaObject());
    const kxObject* fresh = textClass.fresh;
    for (const kxMetaField* field : kxImage::staticMetaObject()->getFields())
        if (!field->isAppended() && field->getName() != uri &&
            !field->isValueAlike(field->getAddress(image), field->getAddress(fresh)))
            return false;
    // The first image of a path is the path.
    return m_imageOfPath.try_emplace(image->_uri.getNumber(), image).first->second == image;
}

// True for a texture that is no more than one image.
bool Printer::printsTextureAsPath(const kxTextureAttr* texture)
{
    static const kxStringRef imageList = "_imageList";
    if (!texture || !texture->isOfExactType(kxTextureAttr::staticMetaObject()) || m_locked.contains(texture) ||
        sharedOf(texture) || texture->_imageList->getCount() != 1)
        return false;
    const kxObject* fresh = m_classes.of(kxTextureAttr::staticMetaObject()).fresh;
    for (const kxMetaField* field : kxTextureAttr::staticMetaObject()->getFields())
        if (!field->isAppended() && field->getName() != imageList &&
            !field->isValueAlike(field->getAddress(texture), field->getAddress(fresh)))
            return false;
    return isImageOfPath(texture->getImage(0));
}

void Printer::printPaths(const kxTextureAttr* texture)
{
    m_text += '<';
    for (uint32_t i = 0; i < texture->_imageList->getCount(); ++i)
    {
        if (i)
            m_text += ' ';
        writeString(texture->getImage(i)->_uri);
    }
    m_text += '>';
}

void Printer::printMain(const kxObject* object, const kxTextClass& textClass)
{
    if (textClass.kind == kxTextClass::TRANSFORM)
    {
        const auto* transform = static_cast<const kxTransform*>(object);
        if (transform->_hasParts ? !isMatrixOfParts(transform) : !transform->isIdentity())
            writeMatrix(transform->_matrix);
        return;
    }
    if (textClass.kind == kxTextClass::VERTEX_DATA)
    {
        const auto* data = static_cast<const kxGeometryAttr*>(object);
        if (!data->_arrays->isEmpty() || data->_indices || !data->_morphTargets->isEmpty() ||
            data->_primitiveMode != kxPrimitiveMode::TRIANGLES)
        {
            const kxVertexArray* first = data->_arrays->isEmpty() ? nullptr : data->_arrays->get(0);
            m_text += kxFormat("<%lldv %lldt %016llx>", static_cast<long long>(first ? first->_count : 0),
                               static_cast<long long>(data->getTriangleCount()),
                               static_cast<unsigned long long>(hashTextGeometry(data)));
        }
        return;
    }
    if (!textClass.main)
        return;
    const void* value = textClass.main->getAddress(object);
    if (textClass.main->isValueAlike(value, textClass.main->getAddress(static_cast<const kxObject*>(textClass.fresh))))
        return;
    const size_t start = m_text.size();
    m_text += '<';
    const auto* reference =
        textClass.main->getKind() == kxFieldKind::OBJECT ? static_cast<const kxObjectField*>(textClass.main) : nullptr;
    if (const auto* list = reference ? kxCast<kxListBase>(reference->getObject(value)) : nullptr)
        writeValues(*list, ' ');
    else
        printValue(*textClass.main, value);
    if (m_text[start + 1] == '<')
        m_text.erase(start, 1); // a summary has brackets of its own
    else
        m_text += '>';
}

// True when the data are printed as a word, which for data met before is all of them.
bool Printer::printWordOfData(const kxGeometryAttr* data, bool& isReference)
{
    const char* word = data->isOfExactType(kxGeometryAttr::staticMetaObject()) ? m_geometries.findWord(data) : nullptr;
    if (!word)
        return false;
    m_text += word;
    Shared& shared = m_shared[data];
    isReference = std::exchange(shared.isPrinted, true);
    if (!isReference && ++m_lastWordLabels[word] > 1)
        shared.label = kxFormat("#%u", m_lastWordLabels[word]);
    m_text += shared.label;
    return true;
}

// --- objects ---

void Printer::printValues(const kxObject* object, const kxTextClass& textClass)
{
    const kxObject* fresh = textClass.fresh;
    if (textClass.flags)
    {
        const uint32_t rest = static_cast<const kxNode*>(object)->_flags & ~(kxNode::IS_DYNAMIC | kxNode::IS_ANIMATED);
        if (rest)
        {
            beginField(textClass.flags);
            m_text += std::to_string(rest);
        }
    }
    if (textClass.kind == kxTextClass::TRANSFORM)
        printParts(static_cast<const kxTransform*>(object));
    static const kxStringRef unit = "_unit";
    for (const kxMetaField* field : textClass.values)
    {
        const void* value = field->getAddress(object);
        if (fresh && field->isValueAlike(value, field->getAddress(fresh)))
            continue;
        // The number of a use that has a name is found again from the name, and differs between runs.
        if (textClass.kind == kxTextClass::TEXTURE_BIND && field->getName() == unit &&
            !static_cast<const kxTextureBindAttr*>(object)->_slot.isEmpty())
            continue;
        if (field == textClass.color)
        {
            const uint32_t count = field->getKind() == kxFieldKind::VEC4F ? 4 : 3;
            if (findTextColorWord(static_cast<const float*>(value), count))
                continue;
        }
        beginField(field);
        printValue(*field, value);
    }
}

void Printer::printWeak(const kxObject* object, const kxMetaObject* wanted)
{
    Shared* shared = object ? sharedOf(object) : nullptr;
    if (shared && shared->isWanted)
        m_text += m_classes.wordOf(object->getMetaObject(), wanted) + labelOf(object, *shared);
    else
        m_text += "null";
}

void Printer::printHead(const kxObject* object, const kxTextClass& textClass)
{
    const kxObject* fresh = textClass.fresh;
    if (m_locked.contains(object))
        m_text += '!';
    if (textClass.flags && static_cast<const kxNode*>(object)->isDynamic())
        m_text += '~';
    if (textClass.flags && static_cast<const kxNode*>(object)->isAnimated())
        m_text += '^';
    if (textClass.name)
    {
        const kxStringRef name = *static_cast<const kxStringRef*>(textClass.name->getAddress(object));
        if (!name.isNull())
        {
            m_text += ' ';
            writeString(name);
        }
    }
    if (textClass.color)
    {
        const void* value = textClass.color->getAddress(object);
        const uint32_t count = textClass.color->getKind() == kxFieldKind::VEC4F ? 4 : 3;
        const char* word = findTextColorWord(static_cast<const float*>(value), count);
        if (word && !(fresh && textClass.color->isValueAlike(value, textClass.color->getAddress(fresh))))
            m_text.append(" ").append(word);
    }
}

// The texture whose images stand in angle brackets: the object's own, or that of a bind. Null when they cannot.
const kxTextureAttr* Printer::findTextureOfPaths(const kxObject* object, const kxTextClass& textClass)
{
    if (textClass.kind == kxTextClass::TEXTURE_BIND)
    {
        const kxTextureAttr* texture = static_cast<const kxTextureBindAttr*>(object)->getTexture();
        return printsTextureAsPath(texture) ? texture : nullptr;
    }
    if (textClass.kind != kxTextClass::TEXTURE)
        return nullptr;
    const auto* texture = static_cast<const kxTextureAttr*>(object);
    for (const kxImage* image : *texture->_imageList)
        if (!isImageOfPath(image))
            return nullptr;
    return texture->_imageList->isEmpty() ? nullptr : texture;
}

void Printer::listLater(const kxObjectList* list, const char* open, const char* close)
{
    later(Item::TEXT, open);
    for (uint32_t i = 0; i < list->getCount(); ++i)
    {
        if (i)
            later(Item::TEXT, ", ");
        later(list->isCounted() ? Item::OBJECT : Item::WEAK_OBJECT, list->get(i), list->getElementType());
    }
    later(Item::TEXT, close);
}

void Printer::printBody(const kxObject* object, const kxTextClass& textClass, bool isWord, uint32_t depth)
{
    printHead(object, textClass);
    const kxTextureAttr* texture = findTextureOfPaths(object, textClass);
    if (texture)
        printPaths(texture);
    else if (!isWord)
        printMain(object, textClass);
    printValues(object, textClass);

    static const kxStringRef shownByPaths[] = {"_texture", "_imageList"};
    bool hasFields = std::exchange(m_hasFields, false);
    for (const kxObjectField* field : textClass.objects)
    {
        const void* value = field->getAddress(object);
        const kxObject* fresh = textClass.fresh;
        if (fresh && field->isValueAlike(value, field->getAddress(fresh)))
            continue;
        if (texture && field->getName() == shownByPaths[texture == object])
            continue;
        later(Item::TEXT, std::exchange(hasFields, true) ? " " : "[");
        later(Item::FIELD, field);
        const kxObject* referenced = field->getObject(value);
        const auto* list = kxCast<kxObjectList>(referenced);
        if (list && !sharedOf(list))
            listLater(list, "(", ")");
        else
            later(Item::OBJECT, referenced,
                  field->getReferencedType() ? field->getReferencedType() : kxObject::staticMetaObject());
    }
    if (hasFields)
        later(Item::TEXT, "]");

    const auto listOf = [&](const kxObjectField* field)
    {
        const auto* list =
            field ? static_cast<const kxObjectList*>(field->getObject(field->getAddress(object))) : nullptr;
        return list && !list->isEmpty() ? list : nullptr;
    };
    if (const kxObjectList* attributes = listOf(textClass.attributes))
        listLater(attributes, "{", "}");
    const kxObjectList* children = listOf(textClass.children);
    if (children && (!m_isTree || depth == kInLine))
        listLater(children, "(", ")");
    else if (children)
        for (kxObject* child : *children)
            later(Item::CHILD, child, children->getElementType(), depth + 1);
}

void Printer::printLine(uint32_t depth)
{
    if (!m_text.empty())
        m_text += '\n';
    m_text.append(2 * std::min(depth, kMaxTreeIndent), ' ');
    if (depth > kMaxTreeIndent)
        m_text += kxFormat("(depth %u) ", depth);
}

void Printer::printObject(const kxObject* object, const kxMetaObject* wanted, uint32_t depth)
{
    if (!object)
    {
        m_text += "null";
        return;
    }
    const kxMetaObject* type = object->getMetaObject();
    const kxTextClass& textClass = m_classes.of(type);
    if (textClass.kind == kxTextClass::IMAGE && isImageOfPath(static_cast<const kxImage*>(object)))
        return writeString(static_cast<const kxImage*>(object)->_uri);
    bool isReference = false;
    const bool isWord = textClass.kind == kxTextClass::VERTEX_DATA &&
                        printWordOfData(static_cast<const kxGeometryAttr*>(object), isReference);
    if (!isWord)
    {
        m_text += wanted ? m_classes.wordOf(type, wanted) : rootWordOf(type);
        if (Shared* shared = sharedOf(object))
        {
            m_text += labelOf(object, *shared);
            isReference = std::exchange(shared->isPrinted, true);
        }
    }
    if (isReference)
        return;

    m_later.clear();
    if (const auto* list = kxCast<kxObjectList>(object))
        listLater(list, "(", ")");
    else if (const auto* values = kxCast<kxListBase>(object))
    {
        m_text += '(';
        writeValues(*values);
        m_text += ')';
    }
    else
        printBody(object, textClass, isWord, depth);
    m_stack.insert(m_stack.end(), m_later.rbegin(), m_later.rend());
}

// The parser takes the first word for a node where it can.
std::string Printer::rootWordOf(const kxMetaObject* type)
{
    if (type->isDerivedFrom(kxNode::staticMetaObject()))
        return m_classes.wordOf(type, kxNode::staticMetaObject());
    const std::string& word = m_classes.wordOf(type, kxObject::staticMetaObject());
    return kxTextClasses::find(word, kxNode::staticMetaObject()) ? type->getName().str() : word;
}

std::string Printer::print(const kxObject* root)
{
    if (root)
        survey(root);
    m_stack.push_back({Item::OBJECT, 0, root, nullptr});
    while (!m_stack.empty())
    {
        const Item item = m_stack.back();
        m_stack.pop_back();
        switch (item.kind)
        {
        case Item::TEXT: m_text += static_cast<const char*>(item.what); break;
        case Item::FIELD:
        {
            std::string_view name = static_cast<const kxMetaField*>(item.what)->getName().view();
            if (name.starts_with('_'))
                name.remove_prefix(1);
            m_text.append(name).append("=");
            break;
        }
        case Item::WEAK_OBJECT: printWeak(static_cast<const kxObject*>(item.what), item.wanted); break;
        case Item::CHILD: printLine(item.depth); [[fallthrough]];
        case Item::OBJECT: printObject(static_cast<const kxObject*>(item.what), item.wanted, item.depth); break;
        }
    }
    return std::move(m_text);
}

} // namespace

std::string kxTextScene::print(const kxObject* object, const kxDataPumpInfo* dataPumps, Form form)
{
    return Printer(dataPumps, form).print(object);
}

} // namespace Kel::Sg
