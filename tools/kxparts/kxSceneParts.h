// What can be left out of a scene.
#pragma once

#include "platform/core/kxFieldTypes.h"
#include "platform/core/kxFileInfo.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGroup.h"

#include <vector>

namespace Kel::Tool
{

/// Everything in a file that can be left out, piece by piece: elements of lists, references, and values that are not those of
/// a fresh object; last, groups that hand their children to their parent. Two loads of one file give the same parts in the same order, from the roots downwards.
class kxSceneParts
{
public:
    explicit kxSceneParts(const Core::kxFileInfo& file);

    size_t getCount() const { return m_parts.size(); }
    /// Leaves out the parts from `first` to before `last`. Once only: it makes the numbers of the others meaningless.
    void leaveOut(size_t first, size_t last);

private:
    struct Part
    {
        Core::kxObject* owner;
        const Core::kxMetaField* field;
        int64_t element;               // of the list that the field holds; -1 for the field itself
        Sg::kxGroup* middle = nullptr; // not null: this child of the owner, without its children
    };
    void collect(Core::kxObject* object);
    void collectMiddles(Core::kxObject* object);
    void leaveOut(const Part& part);
    void leaveOutMiddles(size_t first, size_t last);

    std::vector<Core::kxSmartPointer<Core::kxObject>> m_held; // so that what one part held is there for the next
    Core::kxTSerialMap<bool> m_listsMet;
    std::vector<Part> m_parts;
};

} // namespace Kel::Tool
