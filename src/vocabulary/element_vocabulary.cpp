#include "vocabulary/element_vocabulary.hpp"

#include <array>
#include <string_view>

namespace orvane::python {

extern "C" {
char TypeAsChar[] = "dfbBhHiIqQ?";
}

namespace {

constexpr bool formatsMatchElementTable() {
    constexpr std::string_view formats = "dfbBhHiIqQ?";
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        if (elementTable[i].format != formats[i])
            return false;
    }
    return true;
}
static_assert(formatsMatchElementTable());

using Format = std::array<char, 3>;

struct ArrayTypeEntry {
    TypeAndComplexity type{false, SAE_bool, true};
    Format format{};
};

constexpr std::array<ArrayTypeEntry, arrayTypeLimit> entriesByArrayType = [] {
    std::array<ArrayTypeEntry, arrayTypeLimit> entries{};
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        const ElementRow& row = elementTable[i];
        const auto value = static_cast<SupportedArrayEnum>(i);
        entries[static_cast<std::size_t>(row.arrayType)] = {{true, value, false}, {row.format}};
        if (row.complexArrayType >= 0)
            entries[static_cast<std::size_t>(row.complexArrayType)] = {{true, value, true}, {'Z', row.format}};
    }
    return entries;
}();

constexpr ArrayTypeEntry unsupported{};

const ArrayTypeEntry& entryOf(data::ArrayType type) noexcept {
    const auto number = static_cast<std::int32_t>(type);
    return number >= 0 && number < arrayTypeLimit ? entriesByArrayType[static_cast<std::size_t>(number)] : unsupported;
}

} // namespace

TypeAndComplexity getTypeAndComplexityFromArrayType(data::ArrayType type) noexcept {
    return entryOf(type).type;
}

const char* classid2format(data::ArrayType type) noexcept {
    const ArrayTypeEntry& entry = entryOf(type);
    return entry.type.supported ? entry.format.data() : nullptr;
}

std::optional<int> getArrayTypeEnumFromChar(char format) {
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        if (elementTable[i].format == format)
            return static_cast<int>(i) + typeCodeOffset;
    }
    // The character goes out as a byte of its own: it need not be ASCII, and then no UTF-8 either.
    const unsigned char byte = static_cast<unsigned char>(format);
    PyErr_Format(PyExc_RuntimeError, "format character not supported: %c", byte);
    return std::nullopt;
}

char resolvePlatformLong(char format, Py_ssize_t itemSize) noexcept {
    const bool isFourBytes = itemSize == 4;
    switch (format) {
    case 'l':
        return isFourBytes ? 'i' : 'q';
    case 'L':
        return isFourBytes ? 'I' : 'Q';
    default:
        return format;
    }
}

bool areDifferentButCompatible(char input, char expected, Py_ssize_t itemSize) noexcept {
    if ((input == '?' && expected == 'B') || (input == 'B' && expected == '?'))
        return true;
    const char resolved = resolvePlatformLong(input, itemSize);
    return resolved != input && resolved == expected;
}

} // namespace orvane::python
