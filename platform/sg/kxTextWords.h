// The vocabulary of scenes in text form, which the parser and the printer share.
#pragma once

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/sg/kxSgNames.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Kel::Sg
{

/// How the objects of one class are written.
struct kxTextClass
{
    /// Classes with a short form of their own.
    enum Kind
    {
        PLAIN,
        TRANSFORM,
        VERTEX_DATA,
        IMAGE,
        TEXTURE,
        TEXTURE_BIND
    };

    const kxMetaObject* type = nullptr;
    Kind kind = PLAIN;
    kxSmartPointer<kxObject> fresh; ///< holds the defaults; null for an abstract class

    const kxMetaField* name = nullptr;         ///< the string in quotes
    const kxMetaField* flags = nullptr;        ///< a node's flags
    const kxMetaField* color = nullptr;        ///< what a colour word sets
    const kxMetaField* main = nullptr;         ///< what stands in angle brackets, unless the kind says otherwise
    const kxObjectField* attributes = nullptr; ///< list in braces
    const kxObjectField* children = nullptr;   ///< list in parentheses
    std::vector<const kxMetaField*> values;    ///< fields in square brackets: plain values and lists of values ...
    std::vector<const kxObjectField*> objects; ///< ... and behind them objects and lists of objects
};

/// What the text form knows of each class, found out when the class is first met.
class kxTextClasses
{
public:
    const kxTextClass& of(const kxMetaObject* type);

    /// Class that a word means where an object of class `wanted` stands; null when there is none.
    static const kxMetaObject* find(std::string_view word, const kxMetaObject* wanted);
    /// Shortest word for a class in such a place.
    const std::string& wordOf(const kxMetaObject* type, const kxMetaObject* wanted);

private:
    struct Word
    {
        const kxMetaObject* wanted;
        std::string word;
    };
    std::vector<std::unique_ptr<kxTextClass>> m_classes; // by the index of the type
    std::vector<std::vector<Word>> m_words;              // the same
};

/// Numbers of a colour word, 3 or 4 of them; false for an unknown word.
bool findTextColor(std::string_view word, uint32_t count, float* numbers);
/// Word for a colour of 3 or 4 numbers; null when there is none.
const char* findTextColorWord(const float* numbers, uint32_t count);

/// Vertex data that a word means, made anew; null for an unknown word.
kxSmartPointer<kxGeometryAttr> makeTextGeometry(std::string_view word);

/// Finds the words of vertex data.
class kxTextGeometries
{
public:
    /// Word for equal data, however they are laid out in memory; null when there is none.
    const char* findWord(const kxGeometryAttr* data);

private:
    std::vector<kxSmartPointer<kxGeometryAttr>> m_known;
};

/// Hash of what the data hold, however they are laid out in memory.
uint64_t hashTextGeometry(const kxGeometryAttr* data);

} // namespace Kel::Sg
