// Keys of animations: between the arrays of a file and the lists of the scene.
#pragma once

#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxTransformSequence.h"

#include <map>
#include <unordered_map>

namespace Kel::Gltf
{

using namespace Kel::Sg;

/// How a file held the keys of a sequence, so that they are written the same way.
class kxGltfKeyForm : public kxKeyForm
{
    KX_OBJECT(kxGltfKeyForm, kxKeyForm)
    static void listFields(kxFields<kxGltfKeyForm>& fields);

    kxStringRef _interpolation;
    /// Without values, but for times that ticks do not hold to the bit.
    kxSmartPointer<kxVertexArray> _timeForm;
    kxSmartPointer<kxVertexArray> _valueForm; ///< without values; null where the values are an array themselves

    kxKeySizes getSizes() const override;
};

/// Turns arrays into lists; one array always becomes the same list, so that what a file shares stays shared.
class kxGltfKeyReader
{
public:
    kxLongList* getTimes(const kxVertexArray* array);
    kxVec3fList* getVectors(const kxVertexArray* array);
    kxQuatfList* getQuaternions(const kxVertexArray* array);
    /// The array without its values; for times with them where the ticks do not give them back.
    kxVertexArray* getForm(const kxVertexArray* array, bool areTimes);

private:
    template <class List, class Convert>
    List* getList(const kxVertexArray* array, Convert convert);

    std::map<std::pair<const kxVertexArray*, const kxMetaObject*>, kxSmartPointer<kxListBase>> m_lists;
    std::unordered_map<const kxVertexArray*, kxSmartPointer<kxVertexArray>> m_forms;
};

/// Turns lists into arrays; one list becomes the same array however many sequences share it. The first form that it is asked
/// for with says how it is called. The arrays live as long as the writer.
class kxGltfKeyWriter
{
public:
    const kxVertexArray* getTimes(const kxLongList* times, const kxGltfKeyForm* form);
    const kxVertexArray* getVectors(const kxVec3fList* vectors, const kxGltfKeyForm* form);
    const kxVertexArray* getQuaternions(const kxQuatfList* quaternions, const kxGltfKeyForm* form);

private:
    kxSmartPointer<kxVertexArray>& getSlot(const kxListBase* list, kxComponentType type);

    std::map<std::pair<const kxListBase*, kxComponentType>, kxSmartPointer<kxVertexArray>> m_arrays;
};

} // namespace Kel::Gltf
