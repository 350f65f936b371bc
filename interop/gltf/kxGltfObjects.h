// The things of a file by kind and index.
#pragma once

#include "interop/gltf/kxGltfJson.h"
#include "platform/core/kxObject.h"

#include <array>
#include <functional>
#include <vector>

namespace Kel::Gltf
{

/// Kinds of things that a file numbers.
enum class kxGltfKind : uint32_t
{
    SCENE,
    NODE,
    MESH,
    MATERIAL,
    TEXTURE,
    IMAGE,
    CAMERA,
    LIGHT,
    SKIN,
    ANIMATION,
    ACCESSOR,
    BUFFER_VIEW,
    COUNT
};
constexpr size_t kGltfKindCount = static_cast<size_t>(kxGltfKind::COUNT);

/// What a JSON pointer to a thing of this kind begins with, such as "/nodes/".
std::string_view pointerPrefix(kxGltfKind kind);
/// Kind of thing that an object of the scene stands for; `COUNT` for none.
kxGltfKind kindOf(const kxObject* object);

/// Splits a JSON pointer to a numbered thing into kind, index and the rest ("" or "/..."); false for any other text.
bool splitPointer(std::string_view text, kxGltfKind& kind, uint32_t& index, std::string_view& rest);

/// The objects made from the things of a file. The materials are found by their `kxMaterialAttr`.
struct kxGltfObjects
{
    std::array<std::vector<kxObject*>, kGltfKindCount> lists;
    /// Make the object of an accessor or a buffer view when one is asked for.
    std::function<kxObject*(uint32_t)> loadAccessor, loadBufferView;

    kxObject* find(kxGltfKind kind, uint32_t index) const
    {
        if (kind == kxGltfKind::ACCESSOR)
            return loadAccessor ? loadAccessor(index) : nullptr;
        if (kind == kxGltfKind::BUFFER_VIEW)
            return loadBufferView ? loadBufferView(index) : nullptr;
        const auto& list = lists[static_cast<size_t>(kind)];
        return index < list.size() ? list[index] : nullptr;
    }
};

} // namespace Kel::Gltf
