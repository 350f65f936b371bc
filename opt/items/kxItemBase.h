// Base of every item: functions by name, with checked input.
#pragma once

#include "opt/framework/kxInterfaced.h"
#include "opt/items/kxInterfaceDeclaration.h"
#include "opt/parameters/kxParameterSetConstraint.h"

#include <memory>

namespace Kel::Opt
{

class kxItemTable;

/// Serves one family of functions (an interface) for one type of objects. The item registry finds an item's class by
/// interface name and type, makes one for each call, and a client runs one of its functions by name (`apply`).
///
/// An item declares its inputs as reflected fields with the flag `PARAMETER`; those that must be there and not null
/// also have `REQUIRED`. Fields without the flag are results or workings. What a class of items declares (functions,
/// parameters, constraints) is asked of one item of the class and kept by the registry until a class or a field is
/// registered, so it must not depend on the item.
class kxItemBase : public kxInterfaced
{
    KX_OBJECT(kxItemBase, kxInterfaced)

    /// Hook behind the copying of inputs into the item's fields; here nothing. `input` may be null.
    virtual void userSetupInput(kxParameterSet* input);
    /// Hook on the result of a function that ran; here nothing.
    virtual void userSetupOutput(kxParameterSet* result);
    /// Constraints on the input beside those that follow from the fields; null for none.
    virtual kxSmartPointer<kxParameterSetConstraintList> getConstraints();

    /// Runs the function of that name. The result always has the integer "succeed", 1 only if the function said so, and
    /// on failure mostly a message. Names differ by case. `input` may be null.
    virtual kxSmartPointer<kxParameterSet> apply(kxStringRef functionName, kxParameterSet* input);

    /// Type of objects that the item serves.
    virtual kxMetaObject* getInterfacedType() = 0;
    /// True registers the item for all types derived from it as well.
    virtual bool getRecursiveInterface();
    /// False keeps the item out of the registry: clients make it by class.
    virtual bool getRegisterInterface();
    virtual kxStringRef getInterfaceName() = 0;
    virtual kxSmartPointer<kxInterfaceDeclarationList> getFunctions() = 0;

    /// First constraint that `input` does not meet, null when it meets all or is null. The constraint lives as long as
    /// the item and its registry.
    kxParameterSetConstraint* checkConstraints(kxParameterSet* input);

protected:
    kxItemBase();
    ~kxItemBase() override;

    void preApply(kxParameterSet* input);
    void postApply(kxParameterSet* result);

    /// What every class of constraints asks of this class's fields.
    kxSmartPointer<kxParameterSetConstraintList> getDefaultConstraints();
    /// Appends the second list to the first and returns it; when one is null, returns the other.
    static kxSmartPointer<kxParameterSetConstraintList> concatenateConstraints(kxParameterSetConstraintList* first,
                                                                               kxParameterSetConstraintList* second);
    /// The same for tables of functions. The joined table is not sorted again: a caller that wants its functions found
    /// sorts it.
    static kxSmartPointer<kxInterfaceDeclarationList> concatenateDeclarations(kxInterfaceDeclarationList* first,
                                                                              kxInterfaceDeclarationList* second);
    /// Sorted table of an array; of two functions of one name the first counts.
    static kxSmartPointer<kxInterfaceDeclarationList> getFunctionsFromArray(const kxInterfaceDeclaration* declarations,
                                                                            unsigned count);

private:
    friend class kxItemTable;
    kxItemTable& getTable();

    std::vector<std::unique_ptr<kxItemTable>> m_ownTables; // of an item without a registry, the current one last
};

/// What one class of items declares, asked once.
class kxItemTable
{
public:
    explicit kxItemTable(kxItemBase* item);

    bool isCurrent() const { return m_generation == kxMetaObject::getGeneration(); }
    /// Null for an unknown name.
    kxItemFunction findFunction(kxStringRef name) const;
    /// Copies what `input` holds into the fields of `item`.
    void copyInput(const kxParameterSet* input, kxItemBase* item) const;
    kxParameterSetConstraint* check(kxParameterSet* input) const;

private:
    struct Parameter
    {
        kxStringRef name;
        const kxMetaField* field;
        const kxMetaObject* type;       // class of the field
        const kxObjectField* reference; // the field, when it refers to an object
    };

    uint32_t m_generation;
    std::vector<Parameter> m_parameters;
    kxSmartPointer<kxInterfaceDeclarationList> m_functions;
    kxSmartPointer<kxParameterSetConstraintList> m_defaultConstraints;
    kxSmartPointer<kxParameterSetConstraintList> m_ownConstraints;
};

} // namespace Kel::Opt
