// Numbers as the interpreter writes them, which read back as the same.
#include <Python.h>

#include "fuzzing.hpp"
#include "protocol/number_text.hpp"

using namespace orvane::python;

static std::string written(double value, int flags) {
    char* const text = PyOS_double_to_string(value, 'r', 0, flags, nullptr);
    std::string copy = text;
    PyMem_Free(text);
    return copy;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const auto real = std::bit_cast<double>(data.ConsumeIntegral<std::uint64_t>());
    const auto whole = data.ConsumeIntegral<std::int64_t>();
    for (const double value : {real, static_cast<double>(whole), static_cast<double>(whole) * 1e-4}) {
        std::string text;
        double read = 0;
        appendFloat(text, value);
        std::from_chars(text.data(), text.data() + text.size(), read);
        require(text == written(value, Py_DTSF_ADD_DOT_0) && (read == value || value != value));
        appendComplex(text = "", real, value);
        require(text == (std::bit_cast<std::uint64_t>(real) == 0
                             ? written(value, 0) + 'j'
                             : '(' + written(real, 0) + written(value, Py_DTSF_SIGN) + "j)"));
        appendNumber(text = "", whole);
        require(text == std::to_string(whole));
    }
    return 0;
}
