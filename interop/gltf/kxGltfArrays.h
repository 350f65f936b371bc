// Buffers, buffer views and accessors of a file being read, as vertex arrays over the mapped bytes.
#pragma once

#include "interop/gltf/kxGltfBufferView.h"
#include "interop/gltf/kxGltfCarried.h"
#include "interop/gltf/kxGltfContainer.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/core/kxFileOptions.h"

#include <map>

namespace Kel::Gltf
{

using namespace Kel::Attrs;

class kxGltfArrays
{
public:
    kxGltfArrays(kxGltfContainer& container, const kxFileOptions& options, kxGltfFaults& faults,
                 kxGltfCarriedReader& carried)
        : m_container(container), m_options(options), m_faults(faults), m_carried(carried)
    {
    }

    /// Checks that every buffer view lies within its buffer and every accessor within its view.
    bool prepare();

    uint32_t getAccessorCount() const { return static_cast<uint32_t>(m_accessors.size()); }
    /// Values of an accessor for one use; the same object for the same accessor and use. Null, with the file refused, when
    /// its bytes are not there; null without a refusal for an index out of range.
    kxVertexArray* get(uint32_t accessor, kxStringRef semantic);
    bool isUsed(uint32_t accessor) const { return m_accessors[accessor].used; }
    /// True when the accessor has no values but those that a primitive's compressed data bring.
    bool isEmpty(uint32_t accessor) const
    {
        return m_accessors[accessor].view == kNone && !m_accessors[accessor].sparse;
    }

    /// Bytes of a buffer view; null, with the file refused, when they are not there, null without a refusal for an index out
    /// of range.
    kxSmartPointer<kxMemoryBlock> getViewBytes(uint32_t view);
    /// A buffer view as a thing to be carried, the same object every time; null for an index out of range and, with a
    /// warning, where its bytes are not there.
    kxGltfBufferView* getView(uint32_t view);
    /// Buffer views that nobody has asked for and that can be carried all the same. Those that lie over others are no bytes of
    /// their own, and many of them would become far more bytes than the file has: they are left out.
    std::vector<uint32_t> findUnusedViews();
    /// Notes that bytes of the view are known to be of no use to anybody else.
    void setViewUsed(uint32_t view);
    /// Name, extras and extensions of the first buffer.
    kxSmartPointer<kxUserData> takeBufferData(kxStringRef& name);
    /// Warns of what is said of the other buffers, and of buffer views that are not carried as such: it goes with the packing of
    /// the data. Call when all else has been read.
    void warnOfLost();

    /// Bytes of a file that a URI of the scene names; null, with the reason, when it may not or cannot be read. A URI that
    /// may not be followed refuses the file.
    kxSmartPointer<kxMemoryBlock> readFile(std::string_view uri, const std::string& what, std::string& fault);

private:
    static constexpr uint32_t kNone = UINT32_MAX;
    struct Buffer
    {
        uint64_t bytes = 0;
        const kxJsonValue* json = nullptr;
        kxSmartPointer<kxMemoryBlock> data;
    };
    struct View
    {
        uint32_t buffer = kNone;
        uint64_t offset = 0;
        uint64_t bytes = 0;
        uint64_t stride = 0; // 0: not given
        std::string_view compression;
        const kxJsonValue* json = nullptr;
        bool used = false;
        bool leftOut = false;  // and there is a warning of its own
        bool overlaps = false; // nobody asked for it, and it lies over others
        kxSmartPointer<kxGltfBufferView> object;
    };
    struct Accessor
    {
        const kxJsonValue* json = nullptr;
        const kxJsonValue* sparse = nullptr;
        uint32_t view = kNone;
        uint64_t offset = 0;
        uint64_t count = 0;
        uint64_t stride = 0;
        kxComponentType componentType = kxComponentType::FLOAT32;
        uint8_t componentCount = 1;
        bool matrix = false;
        bool normalized = false;
        bool used = false;
        kxSmartPointer<kxMemoryBlock> block; // the bytes, once asked for
        uint64_t blockOffset = 0;
        kxSmartPointer<kxUserData> userData;
        std::vector<kxSmartPointer<kxVertexArray>> arrays; // one for each use
    };

    bool prepareBuffers(const kxJsonValue& list);
    bool prepareViews(const kxJsonValue& list);
    bool prepareAccessor(uint32_t index, const kxJsonValue& json);
    bool checkSparse(uint32_t index, const Accessor& accessor, uint32_t elementBytes);
    bool checkWithinView(const std::string& what, uint32_t view, uint64_t offset, uint64_t needed);
    bool resolveBuffer(uint32_t buffer);
    bool loadBuffer(uint32_t buffer, std::string& fault);
    kxSmartPointer<kxMemoryBlock> openFile(std::string_view uri, const std::string& what, std::string& fault,
                                           bool& isForbidden) const;
    const uint8_t* bytesOf(uint32_t view);
    bool loadBlock(uint32_t index);
    bool applySparse(uint32_t index, uint32_t elementBytes, uint8_t* target);
    bool takeFromBudget(const std::string& what, uint64_t bytes);

    kxGltfContainer& m_container;
    const kxFileOptions& m_options;
    kxGltfFaults& m_faults;
    kxGltfCarriedReader& m_carried;
    std::vector<Buffer> m_buffers;
    std::vector<View> m_views;
    std::vector<Accessor> m_accessors;
    std::map<std::array<uint64_t, 3>, kxSmartPointer<kxMemoryBlock>> m_slices; // of whole views: buffer, offset, bytes
    std::map<std::array<uint64_t, 4>, kxSmartPointer<kxMemoryBlock>> m_interleaved; // view, start, stride, count
    uint64_t m_denseBudget = 0; // bytes that may still be made from nothing
};

} // namespace Kel::Gltf
