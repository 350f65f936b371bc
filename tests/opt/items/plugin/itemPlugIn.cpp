// A plug-in as somebody outside writes one: a new type of nodes, and items that tell the library how to treat it.
#include "opt/items/kxCollapseNode.h"
#include "opt/items/kxObjectProperty.h"
#include "platform/core/kxPlugIn.h"

#include <iterator>

namespace
{

using namespace Kel::Opt;

/// Draws its children around a circle, each in its place; with no radius it is a group.
class kxCarousel : public kxGroup
{
    KX_OBJECT(kxCarousel, kxGroup)
    static void listFields(kxFields<kxCarousel>& fields)
    {
        fields.add(&kxCarousel::_radius, "_radius", "radius of the circle");
    }

    float _radius = 0;
};
KX_IMPLEMENT(kxCarousel)

class kxObjectPropertyForCarousel : public kxObjectPropertyForNode
{
    KX_OBJECT(kxObjectPropertyForCarousel, kxObjectPropertyForNode)

    kxObjectPropertyForCarousel() { allow(REPLACE, NONE); }
    kxMetaObject* getInterfacedType() override { return kxCarousel::staticMetaObject(); }
};
KX_IMPLEMENT(kxObjectPropertyForCarousel)

class kxCollapseNodeForCarousel : public kxCollapseNodeForNode
{
    KX_OBJECT(kxCollapseNodeForCarousel, kxCollapseNodeForNode)

    kxMetaObject* getInterfacedType() override { return kxCarousel::staticMetaObject(); }

protected:
    HIERARCHY_COLLAPSE decide() override
    {
        const auto* carousel = static_cast<kxCarousel*>(_node.get());
        return carousel->_radius == 0 ? spliceOut(carousel) : NO_CHANGE;
    }
};
KX_IMPLEMENT(kxCollapseNodeForCarousel)

/// An interface of the plug-in's own.
class kxSpinCarousel : public kxItemBase
{
    KX_OBJECT(kxSpinCarousel, kxItemBase)
    static void listFields(kxFields<kxSpinCarousel>& fields)
    {
        fields.add(&kxSpinCarousel::_container, "_container", "the carousel")
            .setFlags(kxMetaField::PARAMETER | kxMetaField::REQUIRED);
    }

    kxSmartPointer<kxCarousel> _container;

    kxMetaObject* getInterfacedType() override { return kxCarousel::staticMetaObject(); }
    kxStringRef getInterfaceName() override { return "kxSpinCarousel"; }
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override
    {
        const kxInterfaceDeclaration declarations[] = {{"spin", &kxSpinCarousel::spin}};
        return getFunctionsFromArray(declarations, std::size(declarations));
    }
    kxSmartPointer<kxParameterSet> spin(kxParameterSet*)
    {
        kxParameterSetWrapper result;
        if (_container->getChildCount() < 2)
        {
            result.formatErrorMessage("The carousel %s has nothing to spin\n", _container->getName().c_str());
            return result;
        }
        const kxSmartPointer<kxNode> first = _container->getChild(0u);
        _container->removeChild(0u);
        _container->appendChild(first);
        result.success();
        return result;
    }
};
KX_IMPLEMENT(kxSpinCarousel)

void registerClasses()
{
    kxRegisterClass<kxCarousel>("kxCarousel", "draws its children around a circle");
    kxRegisterClass<kxObjectPropertyForCarousel>("kxObjectPropertyForCarousel", "item: what may be done to a carousel");
    kxRegisterClass<kxCollapseNodeForCarousel>("kxCollapseNodeForCarousel", "item: what becomes of a carousel");
    kxRegisterClass<kxSpinCarousel>("kxSpinCarousel", "item: spins a carousel");
}

} // namespace

KX_PLUGIN("items", registerClasses)
