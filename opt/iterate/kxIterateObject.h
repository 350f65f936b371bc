// Walk over any structure of objects.
#pragma once

#include "opt/framework/kxOptNames.h"
#include "opt/parameters/kxParameterSet.h"
#include "platform/core/kxTSerialMap.h"

#include <vector>

namespace Kel::Opt
{

class kxItemBase;

/// Walks a structure of objects in depth-first pre-order, without recursion and without knowing types: the children of
/// an object are those that the traversal item of its type lists. The list is fetched once, when the object comes onto
/// the path, and is the walk's own: the structure may be edited meanwhile, and what the walk shall see of that is said
/// by `replaceCurrent`, `spliceCurrent` and `updateChildList`.
///
/// With `_visitOnce` each object is returned once. An object that is met again is not returned, but its children are
/// looked through for some that were not returned yet, which an edit or a removal from the walk may have left there;
/// the search starts behind the place at which the walk, within the same step, last left a list of children. Null
/// children are passed over.
class kxIterateObject : public kxObject
{
    KX_OBJECT(kxIterateObject, kxObject)
    static void listFields(kxFields<kxIterateObject>& fields);

    kxStringRef _traversalName{"kxObjectTraversal"};
    bool _visitOnce = true;
    kxSmartPointer<kxItemInterface> _itemInterface;
    // Parallel lists: the path, for each object its index among its parent's children (-1 for the root), and its
    // children.
    kxSmartPointer<kxObjectList> _currentPath = kxNew<kxObjectList>();
    kxSmartPointer<kxIntList> _currentIndices = kxNew<kxIntList>();
    kxSmartPointer<kxObjectListList> _cachedChildList = kxNew<kxObjectListList>(); ///< null until fetched
    kxSmartPointer<kxObjectList> _traversedObject = kxNew<kxObjectList>(); ///< returned so far, sorted by identity

    kxIterateObject();

    kxItemInterface* getItemInterface() const { return _itemInterface; }
    void setItemInterface(kxItemInterface* items);
    kxStringRef getTraversalName() const { return _traversalName; }
    void setTraversalName(kxStringRef name) { _traversalName = name; }
    bool getVisitOnce() const { return _visitOnce; }
    void setVisitOnce(bool once);
    /// Tells the walk that nobody edits the structure while it goes on but the client, who says so by `replaceCurrent`,
    /// `spliceCurrent`, `removeLastObject` and `updateChildList`: what is shared is then not searched again at every
    /// step.
    void setStructureFixed(bool fixed) { m_structureFixed = fixed; }
    /// Tells the walk that nobody at all edits the structure while it goes on, the client included: the children of nodes
    /// are then read where they stand, without a copy of each list.
    void setStructureUntouched(bool untouched)
    {
        m_structureFixed = untouched;
        m_structureUntouched = untouched;
    }
    /// A path of the caller's, with indices to match; the walk goes on from it.
    void setCurrentPath(kxObjectList* path);
    void setCurrentIndices(kxIntList* indices) { _currentIndices = indices; }

    /// Starts a walk. Null, with the root alone on the path, when there is no traversal item for it.
    kxObject* begin(kxObject* root);
    kxObject* beginOfType(kxObject* root, const kxMetaObject* type);
    kxObject* beginOfExactType(kxObject* root, const kxMetaObject* type);

    /// Null at the end, and at an object for which there is no traversal item; that one stays on the path then.
    kxObject* getNext();
    bool next() { return getNext() != nullptr; }
    kxObject* getNextOfType(const kxMetaObject* type);
    kxObject* getNextOfExactType(const kxMetaObject* type);

    /// Last object of the path, null when the walk has ended.
    kxObject* getCurrent() const { return _currentPath->isEmpty() ? nullptr : _currentPath->getLast(); }
    /// First object of the path, null when the walk has ended.
    kxObject* getFirst() const { return _currentPath->isEmpty() ? nullptr : _currentPath->get(0); }
    bool isNotLast() const { return !_currentPath->isEmpty(); }
    bool isNotFirst() const { return _currentPath->getCount() > 1; }

    /// Puts an object in the current one's place in the walk, or with null takes the current one out of it; the walk
    /// goes on with the new object's children, or with what followed. A removed root ends the walk. False when the walk
    /// has ended.
    bool replaceCurrent(kxObject* newObject);
    /// Takes the current object off the path and nothing else.
    void removeLastObject();
    /// Fetches the children of the current object anew; the walk then starts with the first of them. Fails without a
    /// traversal item.
    kxResult updateChildList();

    /// For an edit that took the current object out of its parent, put `inPlace` in its place (null: nothing) and added
    /// `appended` (null: nothing) behind the parent's other children: makes the parent current and goes on behind the
    /// place of the object. The same as `removeLastObject` and `updateChildList`, without going through all children
    /// again, which in a parent of a million would cost a million steps for each edit. `inPlace` and `appended` were below
    /// the object. False when the current object is the root, or there is none.
    bool spliceCurrent(kxObject* inPlace, const kxObjectList* appended);

protected:
    ~kxIterateObject() override;

private:
    /// What is known about an object: its children from `start` on have led, or will lead before it leaves the path, to
    /// all that can be reached through them.
    struct Searched
    {
        uint32_t epoch = 0; // in which that holds
        int32_t start = 0;
        uint32_t timesOnPath = 0;
        uint32_t returnedIn = 0; // number of the walk that has returned it
    };

    void push(kxObject* object, int32_t index);
    int32_t pop();
    /// True when a search among the children of an object that was met again, from `start` on, would find nothing;
    /// otherwise notes that it is made.
    bool isSearched(const kxObject* object, int32_t start);
    /// True when edits are made known, by the client or by the traversal.
    bool areEditsTold() const { return m_structureFixed || m_changeCount != 0; }
    /// Enters an object among those returned; false when it is there.
    bool noteReturned(kxObject* object);
    void noticeEdits();
    void forgetSearches();

    kxSmartPointer<kxParameterSet> m_input;                            // reused
    kxSmartPointer<kxObjectList> m_noChildren = kxNew<kxObjectList>(); // of all nodes that have none; never edited
    kxSmartPointer<kxItemBase> m_traversal; // last one used: tells whether the structure was edited
    uint64_t m_changeCount = 0;             // what it told at the last step
    kxTSerialMap<Searched> m_searched;
    bool m_structureFixed = false;
    bool m_structureUntouched = false;
    uint32_t m_walk = 0;          // number of this walk
    uint32_t m_returnedCount = 0; // objects that it has returned; the list has others when somebody edited it
    uint32_t m_epoch = 0;         // changes when a search may find more than before
    bool m_resume = false;        // the next step goes on among the current object's children ...
    int32_t m_resumeBehind = 0;   // ... behind this one
};

} // namespace Kel::Opt
