// Values of fields in the text form of scenes: how they are written and read.
#pragma once

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxListBase.h"
#include "platform/sg/kxSgNames.h"

#include <string>
#include <string_view>
#include <vector>

namespace Kel::Sg
{

/// True for a value of several numbers, which commas separate.
bool isOfSeveralNumbers(const kxMetaField& field);

/// Text that is being written.
class kxTextWriter
{
public:
    /// With `isBrief` long lists and strings are summed up.
    explicit kxTextWriter(bool isBrief) : m_isBrief(isBrief) {}

    void writeString(kxStringRef string);
    /// Bytes, or a summary of more than a few; null too.
    void writeMemory(const kxMemoryBlock* block);
    /// A value that is no list and no object with a text of its own.
    void writeValue(const kxMetaField& field, const void* value);
    /// The values of a list, without parentheses.
    void writeValues(const kxListBase& list, char separator);
    /// The same with the separator that its elements ask for.
    void writeValues(const kxListBase& list)
    {
        writeValues(list, isOfSeveralNumbers(*list.getElementField()) ? ';' : ',');
    }
    void writeSummary(uint64_t count, const char* what, uint64_t hash);
    void writeMatrix(const kxMatrix44f& matrix);
    bool isTooLong(kxStringRef string) const;

    std::string m_text;

private:
    void writeFactor(float value);

    bool m_isBrief;
};

/// Text that is being read.
class kxTextReader
{
public:
    explicit kxTextReader(std::string_view text) : m_text(text) {}

    /// Always false; notes what is wrong with the text at a place.
    bool fail(size_t at, const std::string& what);
    bool fail(const std::string& what) { return fail(m_at, what); }

    /// Next character that is no blank, 0 at the end.
    char peek();
    bool take(char c);
    /// Letters, digits and underscores from here on; may be empty.
    std::string_view readWord();
    /// Everything up to a blank or a closing bracket.
    std::string_view readToken();
    /// A string in quotes that begins here.
    bool readString(std::string& string);
    /// Bytes or null.
    bool readMemory(kxSmartPointer<kxMemoryBlock>& block);
    /// A value that is no list and no object with a text of its own; `name` is what a message calls it.
    bool readValue(const kxMetaField& field, void* value, std::string_view name);
    /// The values of a list, in parentheses or bare, in place of those that it has.
    bool readValues(kxListBase& list);

    static bool isWordCharacter(char c);
    /// All numbers of a text, separated by blanks or commas; false when there is anything else.
    static bool readNumbers(std::vector<float>& numbers, std::string_view text);
    /// What `kxTextWriter::writeMatrix` wrote, without the brackets; null, or what is wanted instead.
    static const char* readMatrix(std::string_view text, kxMatrix44f& matrix);

    std::string_view m_text;
    size_t m_at = 0;
    std::string m_fault;

private:
    bool readListValue(const kxMetaField& element, void* value, char separator);
};

} // namespace Kel::Sg
