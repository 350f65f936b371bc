#include "opt/iterate/kxIterateObject.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxChildContainer.h"
#include "opt/items/kxItemInterface.h"
#include "opt/items/kxItemNames.h"
#include "platform/core/kxPrefetch.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxIterateObject)

void kxIterateObject::listFields(kxFields<kxIterateObject>& fields)
{
    // The walk is a cursor into somebody else's objects: files and copies do not follow it.
    constexpr uint32_t kCursor = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK;
    fields.add(&kxIterateObject::_traversalName, "_traversalName", "items that list the children of an object");
    fields.add(&kxIterateObject::_visitOnce, "_visitOnce", "each object is returned once");
    fields.add(&kxIterateObject::_itemInterface, "_itemInterface", "items by type").setFlags(kCursor);
    fields.add(&kxIterateObject::_currentPath, "_currentPath", "objects from the root to the current one")
        .setFlags(kCursor);
    fields
        .add(&kxIterateObject::_currentIndices, "_currentIndices",
             "for each object of the path, its index among its parent's children; -1 for the root")
        .setFlags(kCursor);
    fields.add(&kxIterateObject::_cachedChildList, "_cachedChildList", "for each object of the path, its children")
        .setFlags(kCursor);
    fields.add(&kxIterateObject::_traversedObject, "_traversedObject", "objects returned so far, sorted by identity")
        .setFlags(kCursor);
}

kxIterateObject::kxIterateObject() = default;
kxIterateObject::~kxIterateObject() = default;

void kxIterateObject::setItemInterface(kxItemInterface* items)
{
    _itemInterface = items;
}

void kxIterateObject::setVisitOnce(bool once)
{
    _visitOnce = once;
    ++m_epoch;
}

void kxIterateObject::setCurrentPath(kxObjectList* path)
{
    _currentPath = path ? kxSmartPointer<kxObjectList>(path) : kxNew<kxObjectList>();
    _cachedChildList->clear();
    m_searched.clear();
    m_returnedCount = UINT32_MAX; // what was returned is in the list only
    forgetSearches();
    for (kxObject* object : *_currentPath)
    {
        // The children of a path that the walk has not gone are fetched as they are needed.
        _cachedChildList->append(nullptr);
        ++m_searched[object].timesOnPath;
    }
}

void kxIterateObject::push(kxObject* object, int32_t index)
{
    _currentPath->append(object);
    _currentIndices->append(index);
    _cachedChildList->append(nullptr);
    ++m_searched[object].timesOnPath;
}

int32_t kxIterateObject::pop()
{
    const int32_t index = _currentIndices->getLast();
    --m_searched[_currentPath->getLast()].timesOnPath;
    _currentPath->removeLast();
    _currentIndices->removeLast();
    _cachedChildList->removeLast();
    return index;
}

void kxIterateObject::forgetSearches()
{
    ++m_epoch;
    m_resume = false;
}

// What is remembered about searches holds until the structure is edited. Where the traversal cannot tell, it may have
// been edited between any two steps.
void kxIterateObject::noticeEdits()
{
    const auto* container = kxCast<kxChildContainer>(m_traversal);
    const uint64_t changeCount = container ? container->getChangeCount() : 0;
    if (!m_structureFixed && (changeCount == 0 || changeCount != m_changeCount))
        ++m_epoch;
    m_changeCount = changeCount;
}

bool kxIterateObject::isSearched(const kxObject* object, int32_t start)
{
    // An object on the path lies below itself here: all its children are met before it leaves the path.
    Searched& searched = m_searched[object];
    if (searched.timesOnPath > 0 || (searched.epoch == m_epoch && searched.start <= start))
        return true;
    searched.epoch = m_epoch;
    searched.start = start;
    return false;
}

bool kxIterateObject::noteReturned(kxObject* object)
{
    // As long as nobody else edits the list, what is known of the objects answers without searching it.
    if (_traversedObject->getCount() != m_returnedCount)
    {
        m_returnedCount = UINT32_MAX;
        return _traversedObject->insertSorted(object);
    }
    Searched& known = m_searched[object];
    if (known.returnedIn == m_walk)
        return false;
    known.returnedIn = m_walk;
    _traversedObject->insertSortedNew(object);
    ++m_returnedCount;
    return true;
}

kxResult kxIterateObject::updateChildList()
{
    kxObject* current = getCurrent();
    if (!current || !_itemInterface)
        return kFailure;
    // The library's own traversal of nodes need not be called; most of its answers are that there are no children.
    if (_itemInterface->getRegisteredItemBase(_traversalName, current->getMetaObject()) ==
        kxNodeTraversal::staticMetaObject())
    {
        m_traversal = nullptr;
        const auto* node = static_cast<const kxNode*>(current);
        kxSmartPointer<kxObjectList> list = m_noChildren;
        const auto* group = kxCast<kxGroup>(node);
        if (group && group->getChildCount() > 0 && m_structureUntouched)
            list = group->_childList;
        else if (group && group->getChildCount() > 0)
        {
            const auto children = kxNew<kxNodeList>();
            kxNodeTraversal::listChildren(node, *children);
            list = children;
        }
        _cachedChildList->set(_cachedChildList->getCount() - 1, list);
        return kSuccess;
    }
    m_traversal = _itemInterface->createItemBase(_traversalName, current->getMetaObject());
    if (!m_traversal)
        return kFailure;

    const kxItemNames& names = kxItemNames::get();
    if (!m_input)
        m_input = kxNew<kxParameterSet>();
    m_input->setFieldValue(names.containerField, current);
    const kxSmartPointer<kxParameterSet> result = m_traversal->apply(names.getChildList, m_input);
    m_input->setFieldValue(names.containerField, static_cast<kxObject*>(nullptr));

    kxObject* children = nullptr;
    result->getFieldValue(names.childListField, children);
    if (auto* list = kxCast<kxObjectList>(children))
        _cachedChildList->set(_cachedChildList->getCount() - 1, list);
    return kSuccess;
}

kxObject* kxIterateObject::begin(kxObject* root)
{
    _currentPath->clear();
    _currentIndices->clear();
    _cachedChildList->clear();
    _traversedObject->clear();
    m_searched.clear();
    forgetSearches();
    if (!root)
        return nullptr;
    ++m_walk;
    m_returnedCount = 0;
    noteReturned(root);
    push(root, -1);
    return updateChildList() == kSuccess ? root : nullptr;
}

namespace
{

constexpr uint32_t kAhead = 4; // siblings that are asked for before the walk comes to them

} // namespace

kxObject* kxIterateObject::getNext()
{
    noticeEdits();
    bool descend = !m_resume;
    int32_t lastPopped = m_resume ? m_resumeBehind : -1;
    m_resume = false;

    while (!_currentPath->isEmpty())
    {
        if (!_cachedChildList->getLast())
            updateChildList();
        const kxObjectList* children = _cachedChildList->getLast();
        const uint32_t count = children ? children->getCount() : 0;
        const int32_t start = lastPopped + 1;
        auto index = static_cast<uint32_t>(descend ? 0 : start);
        while (index < count && !children->get(index))
            ++index;
        descend = false;
        if (index >= count)
        {
            lastPopped = pop();
            continue;
        }

        kxObject* child = children->get(index);
        if (index + kAhead < count)
            prefetchObject(children->get(index + kAhead));
        const bool isNew = !_visitOnce || noteReturned(child);
        // A search in vain is not made twice: nested instances would double it at every level, and cycles would not
        // end.
        if (!isNew && isSearched(child, start))
        {
            lastPopped = static_cast<int32_t>(index);
            continue;
        }
        push(child, static_cast<int32_t>(index));
        if (updateChildList() != kSuccess)
        {
            if (isNew && _visitOnce)
            {
                _traversedObject->remove(child); // was not returned
                m_searched[child].returnedIn = 0;
                m_returnedCount -= m_returnedCount == UINT32_MAX ? 0 : 1;
            }
            return nullptr;
        }
        if (isNew)
        {
            // All its children are gone through in the steps that follow.
            if (_visitOnce && areEditsTold())
                m_searched[child].epoch = m_epoch;
            return child;
        }
        // Met again: it stays on the path, and the search goes on among its children behind the last popped index.
    }
    m_traversal = nullptr;
    return nullptr;
}

kxObject* kxIterateObject::getNextOfType(const kxMetaObject* type)
{
    kxObject* object = getNext();
    while (isNotLast() && !(object && object->isOfType(type)))
        object = getNext();
    return object;
}

kxObject* kxIterateObject::getNextOfExactType(const kxMetaObject* type)
{
    kxObject* object = getNext();
    while (isNotLast() && !(object && object->isOfExactType(type)))
        object = getNext();
    return object;
}

kxObject* kxIterateObject::beginOfType(kxObject* root, const kxMetaObject* type)
{
    kxObject* object = begin(root);
    return object && object->isOfType(type) ? object : getNextOfType(type);
}

kxObject* kxIterateObject::beginOfExactType(kxObject* root, const kxMetaObject* type)
{
    kxObject* object = begin(root);
    return object && object->isOfExactType(type) ? object : getNextOfExactType(type);
}

bool kxIterateObject::replaceCurrent(kxObject* newObject)
{
    if (_currentPath->isEmpty())
        return false;
    forgetSearches();
    const kxSmartPointer<kxObject> old = getCurrent();
    const int32_t index = pop();
    int32_t place = -1;
    if (kxObjectList* children = _cachedChildList->isEmpty() ? nullptr : _cachedChildList->getLast())
    {
        place = children->find(old);
        if (place >= 0 && newObject)
            children->set(static_cast<uint32_t>(place), newObject);
        else if (place >= 0)
            children->removeAt(static_cast<uint32_t>(place));
    }
    if (newObject)
    {
        push(newObject, _currentPath->isEmpty() ? -1 : index);
        updateChildList();
    }
    else if (!_currentPath->isEmpty())
    {
        // The place of the removed one holds what followed it.
        m_resume = true;
        m_resumeBehind = (place >= 0 ? place : index) - 1;
    }
    return true;
}

void kxIterateObject::removeLastObject()
{
    if (_currentPath->isEmpty())
        return;
    forgetSearches();
    pop();
}

bool kxIterateObject::spliceCurrent(kxObject* inPlace, const kxObjectList* appended)
{
    if (!isNotFirst())
        return false;
    // What can be reached has become no more: searches in vain stay in vain.
    if (!m_structureFixed)
        forgetSearches();
    const kxSmartPointer<kxObject> old = getCurrent();
    const int32_t index = pop();
    kxObjectList* children = _cachedChildList->getLast();
    if (!children || children == m_noChildren)
        return updateChildList() == kSuccess;
    // Mostly where the walk found it; a replaced object, or an earlier splice, may have moved it.
    int32_t place = index;
    if (static_cast<uint32_t>(index) >= children->getCount() || children->get(static_cast<uint32_t>(index)) != old)
        place = children->find(old);
    if (place < 0)
        place = static_cast<int32_t>(children->getCount());
    else if (inPlace)
        children->set(static_cast<uint32_t>(place), inPlace);
    else
        children->removeAt(static_cast<uint32_t>(place));
    if (appended)
        children->append(*appended);
    m_resume = true;
    m_resumeBehind = place - 1;
    return true;
}

} // namespace Kel::Opt
