// Boxes of colours, the pieces that a median cut makes.
#pragma once

#include "platform/core/kxFields.h"
#include "platform/core/kxObjectList.h"

namespace Kel::Opt
{

using namespace Kel::Core;

/// A box in the cells of a colour histogram. Its corners are inclusive; it is empty when one of its sides is negative.
class kxCBBox : public kxObject
{
    KX_OBJECT(kxCBBox, kxObject)
    static void listFields(kxFields<kxCBBox>& fields);

    kxSmartPointer<kxUnsignedIntList> _cmin = kxNew<kxUnsignedIntList>();
    kxSmartPointer<kxUnsignedIntList> _cmax = kxNew<kxUnsignedIntList>();
    int32_t _volume = 0;
    uint32_t _colorCount = 0;

    // The occupied cells inside, as a range of the histogram's list of them.
    uint32_t m_firstCell = 0;
    uint32_t m_cellCount = 0;

    kxCBBox();

    uint32_t getMinimum(uint32_t component) const { return _cmin->get(component); }
    uint32_t getMaximum(uint32_t component) const { return _cmax->get(component); }
    bool isEmpty() const;
    /// Takes over corners, volume and count of another box.
    void copyFrom(const kxCBBox& other);
};

/// Boxes, kept sorted by a key that the caller gives.
class kxCBBoxList : public kxTObjectList<kxCBBox>
{
    KX_OBJECT(kxCBBoxList, kxObjectList)
    kxCBBoxList() : kxTObjectList(true) {}
    kxMetaObject* getElementType() const override { return kxCBBox::staticMetaObject(); }

    /// True when `a` stands before `b`.
    using Less = bool (*)(const kxCBBox& a, const kxCBBox& b);
    /// Inserts behind all boxes that do not stand after it.
    void insertSorted(kxCBBox* box, Less less);
    /// Equal boxes keep their order.
    void sort(Less less);
};

} // namespace Kel::Opt
