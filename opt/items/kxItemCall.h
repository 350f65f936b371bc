// One call of an item's function, as every client makes it.
#pragma once

#include "opt/items/kxItemInterface.h"
#include "opt/items/kxItemNames.h"

namespace Kel::Opt
{

/// Finds an item for an object, takes the inputs, runs a function and reads its results. What goes wrong is printed
/// through the client, in the words that hosts look for.
///
///     kxItemCall call(this, names.replaceChildItem, group);
///     if (call && call.set(names.containerField, group).set(names.newChildField, node).run(names.replaceChild)) ...
class kxItemCall
{
public:
    /// How a missing item is reported.
    enum Missing
    {
        SILENT,
        INTERFACE, ///< "the interface %s does not exist for this object (%s)\n"
        TRAVERSAL, ///< "the traversal %s does not exist for this object (%s)\n"
        COMPARISON ///< "there is no comparison %s registered for %s", without a line break
    };

    /// `client` has an item interface, or every item is missing. `object` may be null and has no items then.
    kxItemCall(kxInterfaced* client, kxStringRef interfaceName, const kxObject* object, Missing missing = INTERFACE);

    /// False when there is no item; the other functions may be called all the same.
    explicit operator bool() const { return m_item != nullptr; }
    kxItemBase* getItem() const { return m_item; }

    template <class T>
    kxItemCall& set(kxStringRef name, T value)
    {
        m_input->setFieldValue(name, value);
        return *this;
    }
    /// Runs a function; false when it failed, after its message was printed.
    bool run(kxStringRef functionName);
    /// The same without printing.
    bool tryRun(kxStringRef functionName);
    /// Why the function failed; the empty string when it said nothing, or when there is no item.
    const char* getErrorMessage() const { return kxParameterSetWrapper(m_result).getErrorMessage(); }
    /// Reads a result; false when there is none of that type.
    template <class T>
    bool get(kxStringRef name, T& value) const
    {
        return m_result && m_result->getFieldValue(name, value) == kSuccess;
    }
    /// A result that is true; false also when there is none.
    bool getFlag(kxStringRef name) const
    {
        bool value = false;
        return get(name, value) && value;
    }
    /// A result that is a list of objects, null otherwise.
    kxSmartPointer<kxObjectList> getList(kxStringRef name) const;

    const kxParameterSet* getResult() const { return m_result; }

private:
    kxInterfaced* m_client;
    kxSmartPointer<kxItemBase> m_item;
    kxSmartPointer<kxParameterSet> m_input;
    kxSmartPointer<kxParameterSet> m_result;
};

} // namespace Kel::Opt
