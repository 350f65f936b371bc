#include "opt/image/kxCBBox.h"

#include <algorithm>
#include <vector>

namespace Kel::Opt
{

KX_IMPLEMENT(kxCBBox)
KX_IMPLEMENT(kxCBBoxList)

void kxCBBox::listFields(kxFields<kxCBBox>& fields)
{
    fields.add(&kxCBBox::_cmin, "_cmin", "lower corner in histogram cells, one number for each of four components");
    fields.add(&kxCBBox::_cmax, "_cmax", "upper corner, inclusive");
    fields.add(&kxCBBox::_volume, "_volume", "product of the sides that are not flat, 0 for a single cell");
    fields.add(&kxCBBox::_colorCount, "_colorCount", "number of the image's pixels inside");
}

kxCBBox::kxCBBox()
{
    for (int component = 0; component < 4; ++component)
    {
        _cmin->append(0);
        _cmax->append(0);
    }
}

bool kxCBBox::isEmpty() const
{
    for (uint32_t component = 0; component < 4; ++component)
        if (getMaximum(component) < getMinimum(component))
            return true;
    return false;
}

void kxCBBox::copyFrom(const kxCBBox& other)
{
    for (uint32_t component = 0; component < 4; ++component)
    {
        _cmin->set(component, other.getMinimum(component));
        _cmax->set(component, other.getMaximum(component));
    }
    _volume = other._volume;
    _colorCount = other._colorCount;
}

void kxCBBoxList::insertSorted(kxCBBox* box, Less less)
{
    uint32_t low = 0, high = getCount();
    while (low < high)
    {
        const uint32_t middle = (low + high) / 2;
        if (less(*box, *get(middle)))
            high = middle;
        else
            low = middle + 1;
    }
    insert(low, box);
}

void kxCBBoxList::sort(Less less)
{
    std::vector<kxSmartPointer<kxCBBox>> boxes;
    for (kxCBBox* box : *this)
        boxes.emplace_back(box);
    std::stable_sort(boxes.begin(), boxes.end(),
                     [&](const kxSmartPointer<kxCBBox>& a, const kxSmartPointer<kxCBBox>& b) { return less(*a, *b); });
    clear();
    for (const kxSmartPointer<kxCBBox>& box : boxes)
        append(box);
}

} // namespace Kel::Opt
