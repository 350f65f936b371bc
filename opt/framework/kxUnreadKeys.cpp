#include "opt/framework/kxUnreadKeys.h"

#include "opt/framework/kxOptManager.h"
#include "platform/core/kxNearestName.h"
#include "platform/core/kxReport.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Kel::Opt
{

namespace
{

using Names = std::vector<std::string>;

std::string_view withoutUnderscore(std::string_view name)
{
    return name.starts_with('_') ? name.substr(1) : name;
}

/// "; did you mean NAME?" when one of the names is near enough to be meant, otherwise nothing.
std::string suggest(std::string_view name, const Names& known)
{
    const std::string nearest = findNearestName(name, known);
    return nearest.empty() ? nearest : "; did you mean " + nearest + "?";
}

bool isReadable(const kxMetaField& field)
{
    switch (field.getKind())
    {
    case kxFieldKind::INT:
    case kxFieldKind::ENUM:
    case kxFieldKind::UNSIGNED:
    case kxFieldKind::FLOAT:
    case kxFieldKind::BOOL:
    case kxFieldKind::STRING: return true;
    case kxFieldKind::OBJECT: return field.getReferencedType() == kxMetaObject::staticMetaObject();
    default: return false;
    }
}

/// Keys that a class takes from its section, without leading underscores.
Names listSettings(const kxMetaObject* type)
{
    Names names;
    for (const kxMetaField* field : type->getFields())
        if (isReadable(*field))
            names.emplace_back(withoutUnderscore(field->getName().view()));
    return names;
}

Names listOptimizations()
{
    Names names;
    for (const kxMetaObject* type : kxOptBase::staticMetaObject()->getDerived())
        if (!type->isAbstract())
            names.push_back(type->getName().str());
    return names;
}

/// The lines about one section.
class SectionReport
{
public:
    SectionReport(const kxRegistry& registry, kxStringRef section)
        : m_registry(registry), m_section(section), m_index(registry.findSection(section))
    {
    }

    void add(kxStringRef key, int line) { m_unread.push_back({key, line}); }

    void print(bool completed) const
    {
        const kxMetaObject* type = kxOptManager::staticMetaObject();
        if (m_section != kxStringRef("OPTIMIZE"))
        {
            if (m_unread.size() == m_registry.getKeyCount(m_index))
            {
                // What a cancelled run did not come to is no mistake.
                if (completed)
                    warn(m_registry.getSectionLine(m_index), "nothing reads section [%s]", m_section.c_str());
                return;
            }
            const int nameKey = m_registry.findKey(m_index, kxOptBase::nameToken);
            if (nameKey < 0)
                return; // the report asks for the name
            const kxStringRef name = m_registry.getKeyText(m_index, static_cast<uint32_t>(nameKey));
            type = kxMetaObject::find(name);
            if (!type || !type->isDerivedFrom(kxOptBase::staticMetaObject()))
            {
                warn(m_registry.getKeyLine(m_index, static_cast<uint32_t>(nameKey)), "no optimization is called %s%s",
                     name.c_str(), suggest(name.view(), listOptimizations()).c_str());
                return;
            }
        }
        const Names settings = listSettings(type);
        Names words = settings;
        words.emplace_back(kxOptBase::configurationToken);
        words.emplace_back(type == kxOptManager::staticMetaObject() ? kxOptManager::optCountToken
                                                                    : kxOptBase::nameToken);
        for (const auto& [key, line] : m_unread)
        {
            // A setting that is known went unread because its other spelling stands in the section too.
            if (std::find(settings.begin(), settings.end(), key.view()) != settings.end())
                warn(line, "%s has no effect: _%s in section [%s] counts", key.c_str(), key.c_str(), m_section.c_str());
            else
                warn(line, "%s has no setting %s%s", type->getName().c_str(), key.c_str(),
                     suggest(key.view(), words).c_str());
        }
    }

private:
    template <class... A>
    void warn(int line, const char* format, A... arguments) const
    {
        kxReport::warning("%s:%d: %s", m_registry.getFileName().c_str(), line, kxFormat(format, arguments...).c_str());
    }

    const kxRegistry& m_registry;
    kxStringRef m_section;
    int m_index;
    std::vector<std::pair<kxStringRef, int>> m_unread;
};

} // namespace

void reportUnreadKeys(const kxRegistry* registry, bool completed)
{
    if (!registry)
        return;
    std::vector<std::pair<kxStringRef, SectionReport>> reports;
    registry->forEachUnreadKey(
        [&](kxStringRef section, kxStringRef key, int line)
        {
            if (reports.empty() || reports.back().first != section)
                reports.emplace_back(section, SectionReport(*registry, section));
            reports.back().second.add(key, line);
        });
    for (const auto& [section, report] : reports)
        report.print(completed);
}

void kxUnreadKeyObserver::afterRun(const kxRun& run, bool completed)
{
    reportUnreadKeys(run.manager.getRegistry(), completed);
}

} // namespace Kel::Opt
