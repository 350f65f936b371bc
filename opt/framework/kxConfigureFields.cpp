// Sets an object's fields from a section of a script: what every optimization's settings and the driver's own go through.
#include "opt/framework/kxNumberText.h"
#include "opt/framework/kxOptInterface.h"
#include "platform/core/kxRegistry.h"
#include "platform/core/kxReport.h"

#include <cstdio>

namespace Kel::Opt
{

namespace
{

/// Reads the keys of one section and echoes what was set.
class FieldReader
{
public:
    FieldReader(kxObject* object, const kxRegistry& registry, int section, kxOptInterface* service)
        : m_object(object),
          m_optimization(kxCast<kxOptBase>(object)),
          m_registry(registry),
          m_section(section),
          m_service(service)
    {
    }

    /// True when the field was set.
    bool readField(const kxMetaField* field)
    {
        m_field = field;
        switch (field->getKind())
        {
        case kxFieldKind::INT: return readInteger();
        case kxFieldKind::ENUM: return readEnum();
        case kxFieldKind::UNSIGNED: return readUnsigned();
        case kxFieldKind::FLOAT: return readFloat();
        case kxFieldKind::BOOL: return readBool();
        case kxFieldKind::STRING: return readString();
        case kxFieldKind::OBJECT: return readType();
        default: return false;
        }
    }

private:
    /// Looks for the field's name, then for the name without its leading underscore; `m_key` is the one found.
    template <class T>
    bool read(T& value)
    {
        m_key = m_field->getName();
        if (readKey(value))
            return true;
        if (!m_key.view().starts_with('_'))
            return false;
        m_key = kxStringRef(m_key.view().substr(1));
        return readKey(value);
    }
    template <class T>
    bool readKey(T& value)
    {
        // Asked for as text first: what the optimization reads itself would be warned of as a broken number.
        kxStringRef text;
        if (!m_registry.getValue(m_section, m_key, text) ||
            (m_optimization && m_optimization->readsItself(m_key, text.view())))
            return false;
        return m_registry.getValue(m_section, m_key, value);
    }
    template <class T>
    void store(T value)
    {
        m_field->copyValue(m_field->getAddress(m_object), &value);
    }
    template <class... A>
    void echo(const char* format, A... arguments)
    {
        if (m_service)
            m_service->printf(format, arguments...);
    }

    bool readInteger()
    {
        int32_t value;
        if (!read(value))
            return false;
        store(value);
        echo("(%s:%d) ", m_key.c_str(), value);
        return true;
    }
    bool readEnum()
    {
        // Asked for as text first: a name asked for as an integer would be warned of.
        kxStringRef text;
        int32_t value;
        const int line = findUnreadLine();
        if (!read(text))
            return false;
        const kxMetaEnum* names = m_field->getMetaEnum();
        if (names && !looksLikeNumber(text.view()) && !names->findValue(text.view(), value))
        {
            warnOfName(text, *names, line);
            return false;
        }
        if (!names || !names->findValue(text.view(), value))
            return readInteger();
        store(value);
        echo("(%s:%d) ", m_key.c_str(), value);
        return true;
    }
    /// Line of the field's key, 0 when there is none that has not been read.
    int findUnreadLine() const
    {
        const kxStringRef section = m_registry.getSectionName(m_section);
        std::string_view name = m_field->getName().view();
        std::string_view bareName = name.starts_with('_') ? name.substr(1) : name;
        int found = 0, foundBare = 0;
        m_registry.forEachUnreadKey(
            [&](kxStringRef keySection, kxStringRef key, int line)
            {
                if (keySection == section && key.view() == name)
                    found = line;
                else if (keySection == section && key.view() == bareName)
                    foundBare = line;
            });
        return found ? found : foundBare;
    }
    /// The registry's own words would be about numbers.
    void warnOfName(kxStringRef text, const kxMetaEnum& names, int line)
    {
        std::string place = m_registry.getFileName().str(), known;
        if (line > 0)
            place.append(":").append(std::to_string(line));
        for (const kxMetaEnum::Value& value : names.getValues())
            known.append(known.empty() ? "" : ", ").append(value.name);
        kxReport::warning("%s: %s = %s in section [%s] is none of %s", place.c_str(), m_key.c_str(), text.c_str(),
                          m_registry.getSectionName(m_section).c_str(), known.c_str());
    }
    bool readUnsigned()
    {
        int32_t value;
        if (!read(value))
            return false;
        store(static_cast<uint32_t>(value));
        echo("(%s:%d) ", m_key.c_str(), value);
        // Past the log, so that it shows in silent runs too; the value is stored all the same, scripts use -1 for "all".
        if (value < 0)
            std::printf("(%s:%d skipped: not >0!) ", m_key.c_str(), value);
        return true;
    }
    bool readFloat()
    {
        float value;
        if (!read(value))
            return false;
        store(value);
        echo("(%s:%f) ", m_key.c_str(), static_cast<double>(value));
        return true;
    }
    bool readBool()
    {
        bool value;
        if (!read(value))
            return false;
        store(value);
        echo("(%s:%s) ", m_key.c_str(), value ? "true" : "false");
        return true;
    }
    bool readString()
    {
        kxStringRef value;
        if (!read(value))
            return false;
        store(value);
        echo("(%s:%s) ", m_key.c_str(), value.c_str());
        return true;
    }
    bool readType()
    {
        kxStringRef name;
        if (m_field->getReferencedType() != kxMetaObject::staticMetaObject() || !read(name))
            return false;
        kxMetaObject* type = kxMetaObject::find(name);
        if (!type)
        {
            echo("(%s:%s not found) ", m_key.c_str(), name.c_str());
            return false;
        }
        static_cast<const kxObjectField*>(m_field)->setObject(m_field->getAddress(m_object), type);
        echo("(%s:%s) ", m_key.c_str(), name.c_str());
        return true;
    }

    kxObject* m_object;
    const kxOptBase* m_optimization; // null for other objects
    const kxRegistry& m_registry;
    int m_section;
    kxOptInterface* m_service;
    const kxMetaField* m_field = nullptr;
    kxStringRef m_key;
};

} // namespace

void configureFields(kxObject* object, const kxRegistry* registry, int section, kxOptInterface* service)
{
    if (!registry || section < 0)
        return;
    FieldReader reader(object, *registry, section, service);
    bool any = false;
    for (const kxMetaField* field : object->getMetaObject()->getFields())
        any = reader.readField(field) || any;
    if (any && service)
        service->printf("\n");
}

} // namespace Kel::Opt
