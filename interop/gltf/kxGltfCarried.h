// What a file says beyond the fields of the scene: extras, extensions and properties that nobody knows, carried from file to
// file with the references in them kept true.
//
// The text of an extension stays JSON. A reference to a numbered thing becomes {"$ref": n}, a JSON pointer to one
// {"$ref": n, "rest": "/translation"}; n counts the references of the user data. Keys that begin with '$' get one more of
// it. Properties outside of extensions that the format does not define travel as those of an extension without a name; what
// is unknown within objects that become fields, such as the extras of an extension that is understood, as those of an
// extension "+", by the path of the object. Extras are plain text, but for those that name buffer views or accessors: these
// stand there too.
#pragma once

#include "interop/gltf/kxGltfFaults.h"
#include "interop/gltf/kxGltfReferences.h"
#include "platform/core/kxUserData.h"

#include <set>
#include <span>
#include <unordered_map>

namespace Kel::Gltf
{

/// The properties and extensions of one kind of JSON object that the reader turns into fields. "spot" is known with all that is
/// in it, "spot/innerConeAngle" is one property of an object whose others are carried.
struct kxKnownKeys
{
    const char* place; ///< "node", "material" and so on
    std::span<const std::string_view> members;
    std::span<const std::string_view> extensions;
    /// An extension of which some properties are known, but which is no object or has nothing of the single one that makes it
    /// of use, is carried like an unknown one. False where the reader says that it leaves out such a thing.
    bool carriesUnusable = false;
};

/// Collects what is carried while a file is read.
class kxGltfCarriedReader
{
public:
    kxGltfCarriedReader(kxGltfFaults& faults, const kxGltfObjects& objects) : m_faults(faults), m_objects(objects) {}

    /// Extras, extensions and unknown properties of a JSON object; null when it has none. The extensions are filled in by
    /// `finish`, when every object that they may refer to exists.
    kxSmartPointer<kxUserData> read(const kxJsonValue& object, const kxKnownKeys& known);
    /// True when `read` would find something; nothing of it is kept.
    bool saysMore(const kxJsonValue& object, const kxKnownKeys& known);
    /// Resolves references and names the extensions that may hold some which cannot be followed.
    void finish();

    /// Objects that extensions refer to, each once, in the order met.
    const std::vector<kxObject*>& getReferenced() const { return m_referenced; }

    /// Warns, once for each name, of an extension that is carried as it is although it may hold indices besides the marked.
    void warnOfIndices(std::string_view name, const kxJsonValue& extension, const kxGltfMarks& marks = kxGltfMarks());

private:
    struct Pending
    {
        kxUserData* userData; // held by the object that it belongs to
        const kxJsonValue* object;
        const kxKnownKeys* known;
    };

    void write(kxJsonText& json, const kxJsonValue& value, const kxGltfMarks& marks, kxUserData& userData);
    void writeExtension(kxJsonText& json, std::string_view name, const char* place, const kxJsonValue& extension,
                        kxUserData& userData);
    void writeInner(kxJsonText& json, std::string_view key, const char* place, const kxJsonValue& value,
                    kxUserData& userData);
    bool writeReference(kxJsonText& json, kxGltfKind kind, uint32_t index, const std::string_view* rest,
                        kxUserData& userData);

    kxGltfFaults& m_faults;
    const kxGltfObjects& m_objects;
    std::vector<Pending> m_pending;
    std::vector<kxSmartPointer<kxUserData>> m_held; // until finish: nobody may have taken what was read
    std::vector<kxObject*> m_referenced;
    std::set<const kxObject*> m_known;
    std::set<std::string, std::less<>> m_warned;
};

/// Writes what is carried.
class kxGltfCarriedWriter
{
public:
    /// Number of an object in the file being written; false for one that is not in it.
    using IndexOf = std::function<bool(const kxObject*, kxGltfKind&, uint32_t&)>;
    explicit kxGltfCarriedWriter(IndexOf indexOf) : m_indexOf(std::move(indexOf)) {}

    /// Members of a JSON object that have been written before the carried ones.
    struct Own
    {
        /// JSON text of extensions that fields were turned into: name, value.
        std::vector<std::pair<std::string, std::string>> extensions;
        /// Members that the extras get in addition: name, value as JSON text.
        std::vector<std::pair<std::string, std::string>> extras;
    };
    /// Writes "extensions", "extras" and unknown properties into the object that is open.
    void write(kxJsonText& json, const kxUserData* userData, const Own& own = Own());
    /// Writes what is carried of an object within, such as "sparse/values", into that object, which is open.
    void writeInner(kxJsonText& json, const kxUserData* userData, std::string_view path);
    /// True when something is carried of the object at `path` or of one within it.
    static bool hasInner(const kxUserData* userData, std::string_view path);
    /// Unknown property of that name as JSON text, empty when there is none. `write` writes it all the same, unless it is
    /// skipped.
    std::string getUnknown(const kxUserData* userData, std::string_view name) const;
    /// Leaves out an unknown property of the next `write`.
    void skipUnknown(std::string_view name) { m_skipped.emplace_back(name); }

    /// Notes the use of an extension.
    void use(std::string_view extension) { m_used.emplace(extension); }
    const std::set<std::string, std::less<>>& getUsed() const { return m_used; }

private:
    void writeLinked(kxJsonText& json, const kxJsonValue& value, const kxUserData& userData);
    void writeMembers(kxJsonText& json, const kxJsonValue& object, const kxUserData& userData);

    IndexOf m_indexOf;
    std::set<std::string, std::less<>> m_used;
    std::vector<std::string> m_skipped;
};

} // namespace Kel::Gltf
