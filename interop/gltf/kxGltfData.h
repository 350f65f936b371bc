// The binary part of a file being written: vertex data and embedded images, packed into buffer views.
#pragma once

#include "interop/gltf/kxGltfBufferView.h"
#include "interop/gltf/kxGltfCarried.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/core/kxTSerialMap.h"

namespace Kel::Gltf
{

using namespace Kel::Attrs;

class kxGltfData
{
public:
    /// What values are used for. Those of one use lie together, because readers hand buffer views on as a whole.
    enum Use : uint32_t
    {
        INDICES,
        VERTICES,
        BIND_MATRICES,
        KEYS,
        INSTANCES,
        OTHER,
        SPARSE_INDICES,
        SPARSE_VALUES,
        IMAGE,
        CARRIED
    };

    /// Number of the accessor of an array; arrays with the same bytes and the same use share one, and `OTHER` takes that of any
    /// use. With `needsBounds` the smallest and largest values are written whether or not the array had them before.
    /// An array whose values lie outside of its data is left out and makes `getFault` say so.
    uint32_t addArray(const kxVertexArray* array, Use use, bool needsBounds);
    const std::string& getFault() const { return m_fault; }
    /// Number of the buffer view of an image's bytes.
    uint32_t addImage(kxMemoryBlock* bytes);
    /// Number of a buffer view that is carried; one whose bytes are those of an image is the same. Views with the same bytes
    /// share them.
    uint32_t addView(const kxGltfBufferView* view);

    /// Writes "accessors" and "bufferViews" into the root object. Call after everything was added but for what is said of
    /// the buffer itself, which may refer to more. An array or a view that is new after this makes `getFault` say so.
    void writeLists(kxJsonText& json, kxGltfCarriedWriter& carried, const kxUserData* ofBuffer);
    /// Bytes of the whole binary part; call after `writeLists`.
    uint64_t getByteCount() const { return m_byteCount; }
    /// Hands over the bytes in order, piece by piece, while the answers are true.
    bool writeBytes(const std::function<bool(const void*, uint64_t)>& write) const;

private:
    struct Accessor
    {
        const kxVertexArray* array;
        bool hasBounds;
        bool isPlaced = false; // false: for `OTHER` so far, and bytes are not yet given a place
        uint32_t view = UINT32_MAX;
        uint64_t offset = 0;
        // Sparse form: the elements that are not zero.
        uint32_t sparseCount = 0; // 0: written in full
        uint32_t sparseIndexType = 0;
        uint64_t sparseIndexOffset = 0, sparseValueOffset = 0;
    };
    struct View
    {
        Use use;
        uint32_t stride; // 0: elements follow each other closely
        uint64_t bytes = 0;
        uint64_t offset = 0;
        std::vector<uint32_t> accessors;
        kxSmartPointer<kxMemoryBlock> block; // of an image, or carried
        kxSmartPointer<const kxGltfBufferView> carried;
        uint32_t same = UINT32_MAX; // view that has the bytes, and of which other things are said
    };
    struct Key
    {
        const void* data;
        int64_t stride, count;
        uint64_t shape; // with the use in the second byte
        uint32_t name;
        const void* userData;

        bool operator==(const Key&) const = default;
    };
    struct KeyHash
    {
        size_t operator()(const Key& key) const;
    };

    void addReferred(kxGltfCarriedWriter& carried, const kxUserData* ofBuffer);
    static Key withUse(Key key, Use use);
    uint32_t findForOther(const Key& key) const;
    void place(uint32_t number, Use use);
    uint32_t addBlock(Use use, kxMemoryBlock* bytes);
    uint32_t viewFor(Use use, uint32_t stride);
    bool makeSparse(Accessor& accessor);
    void writeBounds(kxJsonText& json, const kxVertexArray& array) const;
    bool writeArray(const Accessor& accessor, uint32_t stride,
                    const std::function<bool(const void*, uint64_t)>& write) const;
    bool writeSparsePart(const Accessor& accessor, bool indices,
                         const std::function<bool(const void*, uint64_t)>& write) const;

    std::vector<Accessor> m_accessors;
    std::vector<View> m_views;
    std::unordered_map<Key, uint32_t, KeyHash> m_byKey;
    std::unordered_map<const kxMemoryBlock*, uint32_t> m_blocks; // views of blocks that are written as they are
    std::unordered_map<const kxGltfBufferView*, uint32_t> m_carriedViews;
    size_t m_unplaced = 0;
    bool m_isComplete = false; // every use but `OTHER` is known
    bool m_isListed = false;
    uint64_t m_byteCount = 0;
    std::string m_fault;
};

} // namespace Kel::Gltf
