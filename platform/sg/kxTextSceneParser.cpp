// Reads scenes in their text form. Objects that are not finished wait on a stack, so depth costs no stack frames. Lists and
// fields are filled as a file's reader fills them; the objects' own hooks then put the links back and what else is derived.
#include "platform/sg/kxTextScene.h"

#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxStringObj.h"
#include "platform/sg/kxTextValues.h"
#include "platform/sg/kxTextWords.h"
#include "platform/sg/kxTransform.h"

#include <unordered_map>

namespace Kel::Sg
{

namespace
{

class Parser : private kxTextReader
{
public:
    Parser(std::string_view text, kxDataPumpInfo* dataPumps) : kxTextReader(text), m_dataPumps(dataPumps) {}

    bool parse(const kxMetaObject* wanted, kxSmartPointer<kxObject>& root, std::string& fault);

private:
    // An object with a label, or one that a word stands for.
    struct Label
    {
        kxObject* object = nullptr;
        bool isOpen = false; // its text has not ended
    };
    // An object whose text has not ended.
    struct Frame
    {
        enum State : uint8_t
        {
            PARTS,    // between the parts
            FIELDS,   // within square brackets
            ELEMENTS, // within a list of objects
        };
        enum Bit : uint8_t
        {
            HAS_MATRIX = 1,
            HAS_PARTS = 2,     // a part was given
            SAYS_HAS_PARTS = 4 // the flag was given
        };
        kxObject* object;
        const kxTextClass* textClass;
        Label* label;
        kxObjectList* list = nullptr;         // that elements go to
        const kxObjectField* field = nullptr; // that an object goes to, unless there is a list
        State state = PARTS;
        State afterList = PARTS;
        char close = 0;
        bool isFirst = false; // no element yet
        uint8_t bits = 0;
        uint8_t partsRead = 0; // place in kPartOrder behind the last part
    };
    struct Made
    {
        kxSmartPointer<kxObject> object;
        size_t start;
    };
    // An element of a list that does not hold it.
    struct WeakElement
    {
        kxObjectList* list;
        uint32_t index;
        std::string key;
        size_t start;
    };

    bool step();
    bool readPart(Frame& frame);
    bool isPartInOrder(Frame& frame, char first);
    bool readMark(Frame& frame, char mark);
    bool readColor(Frame& frame);
    bool readMain(Frame& frame);
    bool readPaths(Frame& frame);
    bool readField(Frame& frame);
    bool readObjectField(Frame& frame, const kxObjectField& field);
    bool readValueListField(const kxObjectField& field, kxObject* object);
    bool readElement(Frame& frame);
    bool readWeakElement(Frame& frame);
    bool beginObject(const kxMetaObject* wanted);
    bool beginLabelled(const kxMetaObject* type, size_t start, Label*& label, bool& isReference);
    bool beginWordOfData(std::string_view word, size_t start);
    bool beginList(Frame& frame, kxObjectList* list, char close, Frame::State afterList);
    bool openList(Frame& frame, const kxObjectField* field, char close, const char* what);
    bool deliver(kxObject* object);
    void push(kxObject* object, Label* label, size_t start);
    bool finishObject();
    bool finishScene();
    kxImage* imageOfPath(const std::string& path);

    kxDataPumpInfo* m_dataPumps;
    std::vector<kxSmartPointer<kxDataPump>> m_newPumps;
    kxSmartPointer<kxObject> m_root;
    kxTextClasses m_classes;
    std::vector<Frame> m_stack;
    std::vector<Made> m_made;
    std::unordered_map<std::string, Label> m_labels; // by class name and label, or word and label
    std::unordered_map<std::string, kxImage*> m_imageOfPath;
    std::vector<WeakElement> m_weakElements;
};

// --- objects ---

void Parser::push(kxObject* object, Label* label, size_t start)
{
    m_made.push_back({object, start});
    if (label)
    {
        label->object = object;
        label->isOpen = true;
    }
    m_stack.push_back(Frame{object, &m_classes.of(object->getMetaObject()), label});
}

// Gives a finished object, or null, to what waits for it.
bool Parser::deliver(kxObject* object)
{
    if (m_stack.empty())
    {
        m_root = object;
        return true;
    }
    Frame& frame = m_stack.back();
    if (frame.state == Frame::ELEMENTS)
        frame.list->append(object);
    else
        frame.field->setObject(frame.field->getAddress(frame.object), object);
    return true;
}

// Reads a label where there is one. A label that is known makes a reference.
bool Parser::beginLabelled(const kxMetaObject* type, size_t start, Label*& label, bool& isReference)
{
    label = nullptr;
    isReference = false;
    if (m_at >= m_text.size() || m_text[m_at] != '#')
        return true;
    ++m_at;
    const std::string_view name = readWord();
    if (name.empty())
        return fail("a label of letters and digits is wanted behind #");
    label = &m_labels[std::string(type->getName().view()).append("#").append(name)];
    isReference = label->object != nullptr;
    if (isReference && label->isOpen)
        return fail(start, std::string(m_text.substr(start, m_at - start)) + " lies within itself");
    return true;
}

bool Parser::beginWordOfData(std::string_view word, size_t start)
{
    std::string key(word);
    if (m_at < m_text.size() && m_text[m_at] == '#')
    {
        ++m_at;
        key.append("#").append(readWord());
        if (key.back() == '#')
            return fail("a label of letters and digits is wanted behind #");
    }
    Label& label = m_labels[key];
    if (label.object)
        return deliver(label.object);
    push(makeTextGeometry(word), &label, start);
    return true;
}

bool Parser::beginObject(const kxMetaObject* wanted)
{
    const char first = peek();
    const size_t start = m_at;
    if (first == '"' && kxImage::staticMetaObject()->isDerivedFrom(wanted))
    {
        std::string path;
        return readString(path) && deliver(imageOfPath(path));
    }
    const std::string_view word = readWord();
    if (word.empty())
        return fail("an object is wanted");
    if (word == "null")
        return deliver(nullptr);
    const bool isRoot = m_stack.empty() && wanted == kxObject::staticMetaObject();
    const kxMetaObject* type = isRoot ? kxTextClasses::find(word, kxNode::staticMetaObject()) : nullptr;
    if (!type)
        type = kxTextClasses::find(word, wanted);
    if (!type)
    {
        if (kxGeometryAttr::staticMetaObject()->isDerivedFrom(wanted) && makeTextGeometry(word))
            return beginWordOfData(word, start);
        const bool isKnown = kxTextClasses::find(word, kxObject::staticMetaObject());
        return fail(start, isKnown ? kxFormat("%.*s is no %s", static_cast<int>(word.size()), word.data(),
                                              wanted->getName().c_str())
                                   : kxFormat("unknown class %.*s", static_cast<int>(word.size()), word.data()));
    }
    Label* label;
    bool isReference;
    if (!beginLabelled(type, start, label, isReference))
        return false;
    if (isReference)
    {
        const std::string_view reference = m_text.substr(start, m_at - start);
        const char next = peek();
        const bool isInList = !m_stack.empty() && m_stack.back().state == Frame::ELEMENTS;
        if ((isInList && isWordCharacter(next)) ||
            (next != '\0' && std::string_view("!~^\"<[{(").find(next) != std::string_view::npos))
            return fail(kxFormat("%.*s was written out before", static_cast<int>(reference.size()), reference.data()));
        return deliver(label->object);
    }
    kxSmartPointer<kxObject> object = type->createInstance();
    if (!object)
        return fail(start, type->getName().str() + " is abstract");
    push(object, label, start);
    return true;
}

bool Parser::finishObject()
{
    Frame frame = m_stack.back();
    if (frame.textClass->kind == kxTextClass::TRANSFORM)
    {
        auto* transform = static_cast<kxTransform*>(frame.object);
        if ((frame.bits & (Frame::HAS_PARTS | Frame::SAYS_HAS_PARTS)) == Frame::HAS_PARTS)
            transform->_hasParts = true;
        if (transform->_hasParts && !(frame.bits & Frame::HAS_MATRIX))
            transform->_matrix = composeMatrix(transform->_translation, transform->_rotation, transform->_scale);
    }
    if (frame.label)
        frame.label->isOpen = false;
    m_stack.pop_back();
    return deliver(frame.object);
}

bool Parser::beginList(Frame& frame, kxObjectList* list, char close, Frame::State afterList)
{
    list->clear();
    frame.list = list;
    frame.close = close;
    frame.isFirst = true;
    frame.afterList = afterList;
    frame.state = Frame::ELEMENTS;
    return true;
}

// Opens the list of attributes or children.
bool Parser::openList(Frame& frame, const kxObjectField* field, char close, const char* what)
{
    if (!field)
        return fail(kxFormat("%s has no %s", frame.object->getTypeName(), what));
    ++m_at;
    void* value = field->getAddress(frame.object);
    if (!field->getObject(value))
        field->setObject(value, field->getReferencedType()->createInstance());
    return beginList(frame, static_cast<kxObjectList*>(field->getObject(value)), close, Frame::PARTS);
}

// --- parts of an object ---

bool Parser::readMark(Frame& frame, char mark)
{
    if (mark == '!')
    {
        auto pump = kxNew<kxDataPump>();
        pump->_destObj = frame.object;
        m_newPumps.push_back(pump);
    }
    else if (auto* node = kxCast<kxNode>(frame.object))
        node->_flags |= mark == '~' ? kxNode::IS_DYNAMIC : kxNode::IS_ANIMATED;
    else
        return fail(kxFormat("%s is no node, so it cannot be dynamic or animated", frame.object->getTypeName()));
    ++m_at;
    return true;
}

bool Parser::readColor(Frame& frame)
{
    const size_t start = m_at;
    const std::string_view word = readWord();
    const kxMetaField* field = frame.textClass->color;
    if (field && findTextColor(word, field->getKind() == kxFieldKind::VEC4F ? 4 : 3,
                               static_cast<float*>(field->getAddress(frame.object))))
        return true;
    return fail(start, kxFormat(field ? "unknown colour %.*s" : "%.*s is out of place", static_cast<int>(word.size()),
                                word.data()));
}

kxImage* Parser::imageOfPath(const std::string& path)
{
    kxImage*& image = m_imageOfPath[path];
    if (!image)
    {
        auto made = kxNew<kxImage>();
        made->_uri = path;
        m_made.push_back({made.get(), m_at});
        image = made;
    }
    return image;
}

bool Parser::readPaths(Frame& frame)
{
    auto* texture = kxCast<kxTextureAttr>(frame.object);
    if (!texture)
    {
        auto made = kxNew<kxTextureAttr>();
        m_made.push_back({made.get(), m_at});
        texture = made;
        static_cast<kxTextureBindAttr*>(frame.object)->setTexture(texture);
    }
    while (!take('>'))
    {
        std::string path;
        if (peek() != '"')
            return fail("paths of images in quotes are wanted");
        if (!readString(path))
            return false;
        texture->_imageList->append(imageOfPath(path));
    }
    return true;
}

bool Parser::readMain(Frame& frame)
{
    const kxTextClass& textClass = *frame.textClass;
    const size_t start = m_at++;
    if (textClass.kind == kxTextClass::VERTEX_DATA)
        return fail(start, "vertex data that are only summed up cannot be read: such a scene is kept as a file");
    if (textClass.kind == kxTextClass::TEXTURE || textClass.kind == kxTextClass::TEXTURE_BIND)
        return readPaths(frame);
    const size_t end = m_text.find('>', m_at);
    if (end == std::string_view::npos)
        return fail(start, "the bracket has no end");
    const std::string_view text = m_text.substr(m_at, end - m_at);
    if (textClass.kind == kxTextClass::TRANSFORM)
    {
        m_at = end + 1;
        frame.bits |= Frame::HAS_MATRIX;
        const char* fault = readMatrix(text, static_cast<kxTransform*>(frame.object)->_matrix);
        return !fault || fail(start, fault);
    }
    if (!textClass.main)
        return fail(start, kxFormat("%s has nothing that stands in angle brackets", frame.object->getTypeName()));
    void* value = textClass.main->getAddress(frame.object);
    if (textClass.main->getKind() != kxFieldKind::OBJECT)
    {
        peek();
        if (!readValue(*textClass.main, value, textClass.main->getName().view()))
            return false;
    }
    else
    {
        std::vector<float> numbers;
        auto* list = kxCast<kxFloatList>(static_cast<const kxObjectField*>(textClass.main)->getObject(value));
        if (!list || !readNumbers(numbers, text))
            return fail(start, "numbers are wanted");
        for (const float number : numbers)
            list->append(number);
        m_at = end;
    }
    return take('>') || fail("> is wanted");
}

// What the parts begin with, in their order; W stands for a word. Only marks may be repeated.
constexpr std::string_view kPartOrder = "!\"W<[{(";

bool Parser::isPartInOrder(Frame& frame, char first)
{
    const size_t place = kPartOrder.find(first);
    if (place < frame.partsRead)
        return fail("this part stands behind one that it belongs in front of, or is there twice");
    frame.partsRead = static_cast<uint8_t>(place + (place > 0));
    return true;
}

bool Parser::readPart(Frame& frame)
{
    const char c = peek();
    const char part = c == '~' || c == '^' ? '!' : c;
    if (part != 'W' && part != '\0' && kPartOrder.find(part) != std::string_view::npos && !isPartInOrder(frame, part))
        return false;
    switch (c)
    {
    case '!':
    case '~':
    case '^': return readMark(frame, c);
    case '"':
    {
        std::string name;
        if (!frame.textClass->name)
            return fail(kxFormat("%s has no name", frame.object->getTypeName()));
        if (!readString(name))
            return false;
        *static_cast<kxStringRef*>(frame.textClass->name->getAddress(frame.object)) = kxStringRef(name);
        return true;
    }
    case '<': return readMain(frame);
    case '[':
        ++m_at;
        frame.state = Frame::FIELDS;
        return true;
    case '{': return openList(frame, frame.textClass->attributes, '}', "attributes");
    case '(':
        if (auto* list = kxCast<kxObjectList>(frame.object))
        {
            ++m_at;
            return beginList(frame, list, ')', Frame::PARTS);
        }
        if (auto* list = kxCast<kxListBase>(frame.object))
            return readValues(*list);
        return openList(frame, frame.textClass->children, ')', "children");
    default: break;
    }
    if (isWordCharacter(c))
    {
        // Within square brackets a word behind an object may be the name of the next field.
        size_t next = m_at;
        while (next < m_text.size() && isWordCharacter(m_text[next]))
            ++next;
        if (next == m_text.size() || m_text[next] != '=')
            return isPartInOrder(frame, 'W') && readColor(frame);
    }
    return finishObject();
}

// --- fields ---

// A list of values: bare, in parentheses, or an object with a label.
bool Parser::readValueListField(const kxObjectField& field, kxObject* object)
{
    void* value = field.getAddress(object);
    const char first = peek();
    const size_t start = m_at;
    if (first >= 'A' && first <= 'Z')
    {
        const std::string_view word = readWord();
        const kxMetaObject* type = kxTextClasses::find(word, field.getReferencedType());
        if (type && m_at < m_text.size() && m_text[m_at] == '#')
        {
            Label* label;
            bool isReference;
            if (!beginLabelled(type, start, label, isReference))
                return false;
            if (!isReference)
            {
                kxSmartPointer<kxObject> list = type->createInstance();
                m_made.push_back({list, start});
                label->object = list;
                if (!readValues(*static_cast<kxListBase*>(list.get())))
                    return false;
            }
            field.setObject(value, label->object);
            return true;
        }
        m_at = start; // a value that begins with a capital letter, such as an enumeration's
    }
    if (m_text.substr(m_at).starts_with("null"))
    {
        m_at += 4;
        field.setObject(value, nullptr);
        return true;
    }
    if (!field.getObject(value))
        field.setObject(value, field.getReferencedType()->createInstance());
    auto* list = kxCast<kxListBase>(field.getObject(value));
    return list ? readValues(*list) : fail("the list cannot be made");
}

bool Parser::readObjectField(Frame& frame, const kxObjectField& field)
{
    const kxMetaObject* wanted = field.getReferencedType() ? field.getReferencedType() : kxObject::staticMetaObject();
    void* value = field.getAddress(frame.object);
    if (wanted->isDerivedFrom(kxObjectList::staticMetaObject()) && take('('))
    {
        if (!field.getObject(value))
            field.setObject(value, wanted->createInstance());
        return beginList(frame, static_cast<kxObjectList*>(field.getObject(value)), ')', Frame::FIELDS);
    }
    frame.field = &field;
    return beginObject(wanted);
}

bool Parser::readField(Frame& frame)
{
    if (take(']'))
    {
        frame.state = Frame::PARTS;
        return true;
    }
    const size_t start = m_at;
    const std::string_view name = readWord();
    if (name.empty())
        return fail("a field or ] is wanted");
    const kxMetaObject* type = frame.object->getMetaObject();
    const kxMetaField* field = type->findField(name);
    if (!field)
        field = type->findField(kxFormat("_%.*s", static_cast<int>(name.size()), name.data()));
    if (!field || field->isAppended() || field->hasFlag(kxMetaField::NOT_SAVED) ||
        field->hasFlag(kxMetaField::LINK_BACK))
        return fail(start, kxFormat("%s has no field %.*s that can be set", type->getName().c_str(),
                                    static_cast<int>(name.size()), name.data()));
    if (!take('='))
        return fail("= is wanted");
    peek();
    if (field->getOwner() == kxTransform::staticMetaObject())
    {
        static const kxStringRef matrix = "_matrix", hasParts = "_hasParts";
        frame.bits |= field->getName() == matrix     ? Frame::HAS_MATRIX
                      : field->getName() == hasParts ? Frame::SAYS_HAS_PARTS
                                                     : Frame::HAS_PARTS;
    }
    void* value = field->getAddress(frame.object);
    if (field->getKind() != kxFieldKind::OBJECT)
    {
        // Marks may stand in front of the flags.
        const uint32_t marks = field == frame.textClass->flags ? static_cast<kxNode*>(frame.object)->_flags : 0;
        if (!readValue(*field, value, name))
            return false;
        if (marks)
            static_cast<kxNode*>(frame.object)->_flags |= marks;
        return true;
    }
    const auto& reference = static_cast<const kxObjectField&>(*field);
    const kxMetaObject* wanted = field->getReferencedType();
    if (wanted && wanted->isDerivedFrom(kxListBase::staticMetaObject()) && wanted != kxListBase::staticMetaObject() &&
        !wanted->isDerivedFrom(kxObjectList::staticMetaObject()))
        return readValueListField(reference, frame.object);
    if (wanted && (wanted->isDerivedFrom(kxMetaObject::staticMetaObject()) ||
                   wanted->isDerivedFrom(kxStringObj::staticMetaObject())))
        return readValue(*field, value, name);
    return readObjectField(frame, reference);
}

// --- lists of objects ---

bool Parser::readWeakElement(Frame& frame)
{
    peek();
    const size_t start = m_at;
    const std::string_view word = readWord();
    if (word == "null")
    {
        frame.list->append(nullptr);
        return true;
    }
    const kxMetaObject* type = kxTextClasses::find(word, frame.list->getElementType());
    if (!type || !take('#'))
        return fail(start, kxFormat("the list does not hold its elements: the label of a %s is wanted",
                                    frame.list->getElementType()->getName().c_str()));
    std::string key = type->getName().str();
    key.append("#").append(readWord());
    m_weakElements.push_back({frame.list, frame.list->getCount(), std::move(key), start});
    frame.list->append(nullptr);
    return true;
}

bool Parser::readElement(Frame& frame)
{
    const bool isFirst = std::exchange(frame.isFirst, false);
    const char c = peek();
    if (c == frame.close && c != '\0')
    {
        ++m_at;
        frame.state = frame.afterList;
        return true;
    }
    if (!isFirst && !take(','))
        return fail(kxFormat("',' or '%c' is wanted", frame.close));
    return frame.list->isCounted() ? beginObject(frame.list->getElementType()) : readWeakElement(frame);
}

// --- the whole ---

bool Parser::step()
{
    Frame& frame = m_stack.back();
    switch (frame.state)
    {
    case Frame::PARTS: return readPart(frame);
    case Frame::FIELDS: return readField(frame);
    case Frame::ELEMENTS: return readElement(frame);
    }
    return false;
}

bool Parser::finishScene()
{
    if (peek() != '\0' || m_at < m_text.size())
        return fail("the scene has ended before this");
    for (const WeakElement& element : m_weakElements)
    {
        const auto label = m_labels.find(element.key);
        if (label == m_labels.end() || !label->second.object)
            return fail(element.start, "nothing in the scene has this label");
        element.list->set(element.index, label->second.object);
    }
    for (const Made& made : m_made)
        made.object->userLoaded();
    std::string fault;
    for (const Made& made : m_made)
        if (!made.object->userCheckLoaded(fault))
            return fail(made.start, fault);
    return true;
}

bool Parser::parse(const kxMetaObject* wanted, kxSmartPointer<kxObject>& root, std::string& fault)
{
    bool isRead = beginObject(wanted);
    while (isRead && !m_stack.empty())
        isRead = step();
    isRead = isRead && finishScene();
    if (!isRead)
    {
        fault = m_fault;
        return false;
    }
    root = m_root;
    if (m_dataPumps)
        for (const kxSmartPointer<kxDataPump>& pump : m_newPumps)
            m_dataPumps->getList()->append(pump);
    return true;
}

} // namespace

bool kxTextScene::parse(std::string_view text, kxSmartPointer<kxNode>& root, kxDataPumpInfo* dataPumps,
                        std::string& fault)
{
    kxSmartPointer<kxObject> object;
    if (!Parser(text, dataPumps).parse(kxNode::staticMetaObject(), object, fault))
        return false;
    root = static_cast<kxNode*>(object.get());
    return true;
}

bool kxTextScene::parseObject(std::string_view text, kxSmartPointer<kxObject>& object, kxDataPumpInfo* dataPumps,
                              std::string& fault)
{
    return Parser(text, dataPumps).parse(kxObject::staticMetaObject(), object, fault);
}

} // namespace Kel::Sg
