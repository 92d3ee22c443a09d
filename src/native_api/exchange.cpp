#include "native_api/exchange.hpp"

#include "core/array_object.hpp"
#include "native_api/adopted_block.hpp"
#include "native_api/capsule.hpp"
#include "native_api/loan.hpp"

namespace OCPyArrayAPI {

namespace {

int kindOf(PyObject* object) {
    using namespace orvane;
    using namespace orvane::python;
    const OCppPyArray* core = OCPyArray_Check(object) ? getOCPyArrayFromPyObject(object)->m_cppArray : nullptr;
    if (core == nullptr)
        return -1;
    const ElementRow& row = elementTable[static_cast<std::size_t>(core->supportedArrayEnum())];
    return core->isComplex() ? row.complexArrayType : row.arrayType;
}

} // namespace

const OrvaneExchange* exchangeTable() noexcept {
    static constexpr OrvaneExchange table = {
        .size = sizeof(OrvaneExchange),
        .version = 1,
        .kindOf = kindOf,
        .lend = lend,
        .giveBack = giveBack,
        .arrayFromOwnImpl = arrayFromOwnImpl,
        .arrayFromBlock = arrayFromBlock,
    };
    return &table;
}

} // namespace OCPyArrayAPI
