#include "interop/gltf/kxGltfWriter.h"

#include "platform/core/kxWrittenSizes.h"

#include <algorithm>
#include <cstring>

namespace Kel::Gltf
{

namespace
{

// Order of numbers by key, equal keys as they were.
template <class KeyOf>
void orderBy(size_t count, KeyOf keyOf, std::vector<uint32_t>& order, std::vector<uint32_t>& numbers)
{
    std::vector<uint64_t> keys(count);
    for (size_t i = 0; i < count; ++i)
        keys[i] = uint64_t(keyOf(static_cast<uint32_t>(i))) << 32 | i;
    std::sort(keys.begin(), keys.end());
    order.resize(count);
    numbers.resize(count);
    for (size_t i = 0; i < count; ++i)
    {
        order[i] = static_cast<uint32_t>(keys[i]);
        numbers[order[i]] = static_cast<uint32_t>(i);
    }
}

} // namespace

template <class T>
void kxGltfWriter::Numbered<T>::sort()
{
    std::sort(objects.begin(), objects.end(), [](const T* a, const T* b) { return a->getSerial() < b->getSerial(); });
    for (size_t i = 0; i < objects.size(); ++i)
        numbers[objects[i]] = static_cast<uint32_t>(i + 1);
}

kxGltfWriter::kxGltfWriter(const char* path, bool isBinary, const kxFileOptions& options)
    : m_faults(path),
      m_isBinary(isBinary),
      m_graph(m_faults),
      m_images(m_faults, m_data, isBinary),
      m_textureSources(m_faults, m_images),
      m_sizes(options.m_writtenSizes),
      m_carried([this](const kxObject* object, kxGltfKind& kind, uint32_t& index)
                { return indexOf(object, kind, index); })
{
    m_textureSources.setNoFallback(options._noFallback);
}

bool kxGltfWriter::write(const kxDirectory& directory)
{
    bool done = false;
    try
    {
        done = collect(directory);
        if (done)
            number();
        done = done && writeJson() && (m_isBinary ? writeBinaryFile() : writeTextFile());
    }
    catch (const std::bad_alloc&)
    {
        m_faults.refuse("cannot be written: out of memory");
    }
    if (!done || m_faults.isRefused())
        return false;
    m_faults.reportWarnings();
    return true;
}

bool kxGltfWriter::collect(const kxDirectory& directory)
{
    for (uint32_t i = 0; i < directory.getEntryCount(); ++i)
    {
        const kxDirEntry* entry = directory.getEntry(i);
        const kxObject* object = entry->getObject();
        if (const auto* info = kxCast<kxInfo>(object))
        {
            if (!collectInfo(info, entry->getName()))
                return false;
        }
        else if (const auto* node = kxCast<kxNode>(object))
        {
            if (!m_graph.addScene(nullptr, node, entry->getName()))
                return false;
        }
        else if (object)
        {
            const std::string kind =
                kxFormat("%s has no counterpart in glTF and is not written", object->getTypeName());
            m_faults.warn(kind.c_str(), entry->getName().str());
        }
    }
    for (const kxAnimationDatabase* database : m_databases)
    {
        for (const kxSkin* skin : *database->_skinList)
            if (skin)
                addSkin(skin);
        for (const kxAnimation* animation : *database->_animationList)
            if (animation)
                addAnimation(animation);
    }
    return collectUnused() && collectReferred() && !m_faults.isRefused();
}

bool kxGltfWriter::collectInfo(const kxInfo* info, kxStringRef name)
{
    if (const auto* scene = kxCast<kxSceneInfo>(info))
    {
        addReferences(scene->_userData);
        return m_graph.addScene(scene, scene->getSceneGraph(), scene->getName());
    }
    if (const auto* gltf = kxCast<kxGltfInfo>(info))
    {
        // Of several files put together the first says what is said as a whole.
        if (!m_info)
        {
            m_info = gltf;
            m_images.setInText(gltf->_imagesInText);
        }
        addReferences(gltf->_userData);
        addReferences(gltf->_bufferUserData);
    }
    else if (const auto* database = kxCast<kxAnimationDatabase>(info))
        m_databases.push_back(database);
    else if (info->getMetaObject()->getName().view() != "kxDataPumpInfo") // what it locks is said by what drives it
    {
        const std::string kind = kxFormat("%s has no counterpart in glTF and is not written", info->getTypeName());
        m_faults.warn(kind.c_str(), name.str());
    }
    return true;
}

bool kxGltfWriter::collectUnused()
{
    if (!m_info)
        return true;
    for (const kxNode* node : *m_info->_unusedNodes)
        if (node && !m_graph.addUnused(node))
            return false;
    for (const kxNode* node : *m_info->_unusedMeshes)
        if (const auto* mesh = kxCast<kxMesh>(node))
            m_graph.addMesh(mesh);
    for (const kxAttrSet* set : *m_info->_unusedMaterials)
        if (set)
            m_graph.addMaterial(*set->_attrs);
    for (const kxNode* node : *m_info->_unusedCameras)
        if (const auto* camera = kxCast<kxCamera>(node))
            m_cameras.add(camera);
    for (const kxLightAttr* light : *m_info->_unusedLights)
        if (light)
            m_lights.add(light);
    for (const kxTextureAttr* texture : *m_info->_unusedTextures)
        if (texture)
            addTexture(texture);
    for (const kxImage* image : *m_info->_unusedImages)
        if (image)
            m_imageList.add(image);
    return true;
}

void kxGltfWriter::addReferences(const kxUserData* userData)
{
    if (!userData || userData->getReferenceCount() == 0 || !m_userDataSeen.insert(userData).second)
        return;
    for (const kxObject* object : *userData->_references)
        if (object)
            m_referred.push_back(object);
}

void kxGltfWriter::addTexture(const kxTextureAttr* texture)
{
    if (m_textures.has(texture))
        return;
    m_textures.add(texture);
    addReferences(texture->_userData);
    addReferences(texture->_samplerUserData);
    for (const kxGltfTextures::Source& source : m_textureSources.sourcesOf(*texture))
        if (!m_imageList.has(source.image))
        {
            m_imageList.add(source.image);
            addReferences(source.image->_userData);
        }
    // What takes no part is as good as gone.
    if (m_sizes)
        for (const kxImage* image : *texture->_imageList)
            if (image)
                m_sizes->add(image, 0);
}

void kxGltfWriter::addMaterialTextures(const kxGltfGraph::Material& material)
{
    if (material.attr)
        addReferences(material.attr->_userData);
    for (const kxTextureBindAttr* bind : material.binds)
    {
        addReferences(bind->_userData);
        addTexture(bind->_texture);
    }
}

void kxGltfWriter::addSkin(const kxSkin* skin)
{
    if (m_skins.has(skin))
        return;
    for (const kxNode* joint : *skin->_joints)
        if (!kxCast<kxGroup>(joint))
            return m_faults.warn("skin with joints that are no transforms is not written", skin->_name.str());
    if (skin->_joints->isEmpty())
        return m_faults.warn("skin without joints is not written", skin->_name.str());
    m_skins.add(skin);
    addReferences(skin->_userData);
    for (const kxNode* joint : *skin->_joints)
        m_referred.push_back(joint);
    for (const kxNode* root : *skin->_skeletonRoot)
        if (root)
            m_referred.push_back(root);
}

// Of bones of one name the first counts, as it does for those who look up a name in the skeletons one after the other.
const kxObject* kxGltfWriter::findBone(kxStringRef name)
{
    if (m_bones.empty())
        for (const kxAnimationDatabase* database : m_databases)
            for (const kxSkeleton* skeleton : *database->_skeletonList)
                if (skeleton)
                    for (const kxNode* bone : *skeleton->_bones)
                        if (bone)
                            m_bones.try_emplace(bone->getName().view(), bone);
    const auto found = m_bones.find(name.view());
    return found == m_bones.end() ? nullptr : found->second;
}

void kxGltfWriter::addAnimation(const kxAnimation* animation)
{
    if (m_animations.has(animation))
        return;
    std::vector<kxGltfChannel> channels = listChannels(
        *animation, [this](kxStringRef name) { return findBone(name); }, m_faults);
    if (channels.empty())
        return m_faults.warn("animation without channels is not written", animation->_name.str());
    m_animations.add(animation);
    addReferences(animation->_userData);
    for (const kxGltfChannel& channel : channels)
    {
        addReferences(channel.source->_userData);
        addReferences(channel.track->_userData);
        addReferences(channel.track->_targetUserData);
        if (channel.target)
            m_referred.push_back(channel.target);
    }
    m_channels.emplace(animation, std::move(channels));
}

bool kxGltfWriter::addReferred(const kxObject* object)
{
    switch (kindOf(object))
    {
    case kxGltfKind::NODE: return m_graph.addUnused(static_cast<const kxNode*>(object));
    case kxGltfKind::MESH: m_graph.addMesh(static_cast<const kxMesh*>(object)); break;
    case kxGltfKind::MATERIAL:
        if (!m_graph.has(object))
        {
            kxAttrList attrs;
            attrs.append(const_cast<kxObject*>(object));
            m_graph.addMaterial(attrs);
        }
        break;
    case kxGltfKind::TEXTURE: addTexture(static_cast<const kxTextureAttr*>(object)); break;
    case kxGltfKind::IMAGE: m_imageList.add(static_cast<const kxImage*>(object)); break;
    case kxGltfKind::CAMERA: m_cameras.add(static_cast<const kxCamera*>(object)); break;
    case kxGltfKind::LIGHT: m_lights.add(static_cast<const kxLightAttr*>(object)); break;
    case kxGltfKind::SKIN: addSkin(static_cast<const kxSkin*>(object)); break;
    case kxGltfKind::ANIMATION: addAnimation(static_cast<const kxAnimation*>(object)); break;
    case kxGltfKind::BUFFER_VIEW: // is written when it is asked for, as is an accessor
        addReferences(static_cast<const kxGltfBufferView*>(object)->_userData);
        break;
    case kxGltfKind::ACCESSOR:
    case kxGltfKind::SCENE:
    case kxGltfKind::COUNT: break;
    }
    return true;
}

// Until nothing new turns up: what is written refers to things, and those have to be in the file too.
bool kxGltfWriter::collectReferred()
{
    for (;;)
    {
        for (; m_nodesSeen < m_graph.nodes.size(); ++m_nodesSeen)
        {
            const kxGltfGraph::Node& node = m_graph.nodes[m_nodesSeen];
            if (node.source)
                addReferences(node.source->_userData);
            if (node.more == kxGltfGraph::kNone)
                continue;
            const kxGltfGraph::More& more = m_graph.more[node.more];
            if (more.camera)
                m_cameras.add(more.camera);
            if (more.light)
                m_lights.add(more.light);
            if (more.skin)
                addSkin(more.skin);
            if (more.instances)
                addReferences(more.instances->_userData);
        }
        for (; m_meshesSeen < m_graph.meshes.size(); ++m_meshesSeen)
        {
            const kxGltfGraph::Mesh& mesh = m_graph.meshes[m_meshesSeen];
            if (const kxMesh* carrier = mesh.source ? mesh.source : mesh.partOf)
                addReferences(carrier->_userData);
            for (const kxGltfGraph::Primitive& primitive : m_graph.meshes[m_meshesSeen].primitives)
                addReferences(primitive.geometry->_userData);
        }
        for (; m_materialsSeen < m_graph.materials.size(); ++m_materialsSeen)
            addMaterialTextures(m_graph.materials[m_materialsSeen]);
        if (m_referredSeen == m_referred.size())
            break;
        for (; m_referredSeen < m_referred.size(); ++m_referredSeen)
            if (!addReferred(m_referred[m_referredSeen]))
                return false;
    }
    return true;
}

void kxGltfWriter::number()
{
    const auto& nodes = m_graph.nodes;
    orderBy(
        nodes.size(), [&](uint32_t i) { return nodes[i].source ? nodes[i].source->getSerial() : UINT32_MAX; },
        m_nodeOrder, m_nodeNumber);
    const auto& meshes = m_graph.meshes;
    orderBy(
        meshes.size(),
        [&](uint32_t i)
        { return meshes[i].source ? meshes[i].source->getSerial() : meshes[i].primitives[0].geometry->getSerial(); },
        m_meshOrder, m_meshNumber);
    const auto& materials = m_graph.materials;
    orderBy(
        materials.size(),
        [&](uint32_t i)
        { return materials[i].attr ? materials[i].attr->getSerial() : materials[i].binds[0]->getSerial(); },
        m_materialOrder, m_materialNumber);
    m_cameras.sort();
    m_lights.sort();
    // A joint of a class that gives no node is found out only when all nodes are there.
    std::erase_if(m_skins.objects,
                  [&](const kxSkin* skin)
                  {
                      bool usable = true;
                      for (const kxNode* joint : *skin->_joints)
                          usable &= kindOf(joint) == kxGltfKind::NODE && m_graph.has(joint);
                      if (usable)
                          return false;
                      m_faults.warn("skin with joints that are no transforms is not written", skin->_name.str());
                      m_skins.numbers[skin] = 0;
                      return true;
                  });
    m_skins.sort();
    m_skinCopies.assign(m_skins.objects, m_nodeOrder);
    m_animations.sort();
    m_textures.sort();
    m_imageList.sort();

    auto addSampler = [&](const kxTextureAttr* texture)
    {
        const auto same =
            std::find_if(m_samplers.begin(), m_samplers.end(),
                         [&](const kxTextureAttr* other)
                         {
                             return other->_magFilter == texture->_magFilter &&
                                    other->_minFilter == texture->_minFilter && other->_wrapS == texture->_wrapS &&
                                    other->_wrapT == texture->_wrapT && other->_samplerName == texture->_samplerName &&
                                    (other->_samplerUserData == texture->_samplerUserData ||
                                     (other->_samplerUserData && texture->_samplerUserData &&
                                      other->_samplerUserData->isAlikeShallow(texture->_samplerUserData)));
                         });
        m_samplerOf[texture] = static_cast<uint32_t>(same - m_samplers.begin());
        if (same == m_samplers.end())
            m_samplers.push_back(texture);
    };
    for (const kxTextureAttr* texture : m_textures.objects)
        if (texture->_hasSampler)
            addSampler(texture);
    if (m_info)
        for (const kxTextureAttr* texture : *m_info->_unusedSamplers)
            if (texture)
                addSampler(texture);
}

std::vector<uint32_t> kxGltfWriter::indicesOf(const kxObject* object, kxGltfKind& kind) const
{
    std::vector<uint32_t> indices;
    kind = kindOf(object);
    auto addChain = [&](const auto& list, const std::vector<uint32_t>& numbers)
    {
        if (m_graph.has(object))
            for (uint32_t i = m_graph.first(object); i != kxGltfGraph::kNone; i = list[i].nextCopy)
                indices.push_back(numbers[i]);
    };
    auto addOne = [&](const auto& numbered, const auto* one)
    {
        if (numbered.has(one))
            indices.push_back(numbered[one]);
    };
    switch (kind)
    {
    case kxGltfKind::NODE: addChain(m_graph.nodes, m_nodeNumber); break;
    case kxGltfKind::MESH: addChain(m_graph.meshes, m_meshNumber); break;
    case kxGltfKind::MATERIAL: addChain(m_graph.materials, m_materialNumber); break;
    case kxGltfKind::TEXTURE: addOne(m_textures, static_cast<const kxTextureAttr*>(object)); break;
    case kxGltfKind::IMAGE: addOne(m_imageList, static_cast<const kxImage*>(object)); break;
    case kxGltfKind::CAMERA: addOne(m_cameras, static_cast<const kxCamera*>(object)); break;
    case kxGltfKind::LIGHT: addOne(m_lights, static_cast<const kxLightAttr*>(object)); break;
    case kxGltfKind::SKIN: addOne(m_skins, static_cast<const kxSkin*>(object)); break;
    case kxGltfKind::ANIMATION: addOne(m_animations, static_cast<const kxAnimation*>(object)); break;
    case kxGltfKind::SCENE:
        for (uint32_t i = 0; i < m_graph.scenes.size(); ++i)
            if (m_graph.scenes[i].info == object)
                indices.push_back(i);
        break;
    case kxGltfKind::ACCESSOR:
    case kxGltfKind::BUFFER_VIEW:
    case kxGltfKind::COUNT: break;
    }
    // The first copy has the first number; the chain names the newest next.
    if (indices.size() > 2)
        std::reverse(indices.begin() + 1, indices.end());
    return indices;
}

bool kxGltfWriter::indexOf(const kxObject* object, kxGltfKind& kind, uint32_t& index) const
{
    if (const auto* array = kxCast<kxVertexArray>(object))
    {
        kind = kxGltfKind::ACCESSOR;
        index = const_cast<kxGltfData&>(m_data).addArray(array, kxGltfData::OTHER, false);
        return true;
    }
    if (const auto* view = kxCast<kxGltfBufferView>(object))
    {
        kind = kxGltfKind::BUFFER_VIEW;
        index = const_cast<kxGltfData&>(m_data).addView(view);
        return true;
    }
    const std::vector<uint32_t> indices = indicesOf(object, kind);
    if (indices.empty())
        return false;
    index = indices[0];
    return true;
}

} // namespace Kel::Gltf
