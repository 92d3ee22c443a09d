// DLPack capsules made and taken, and tensors of the client's own that say what they are told to.
#include <orvane/dlpack.hpp>

#include <orvane/pybind11.hpp>

#include <pybind11/stl.h>

#include <cstdint>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace py = pybind11;
namespace python = orvane::python;
namespace dlpack = orvane::dlpack;

namespace {

py::object taken(python::Reference reference) {
    return py::reinterpret_steal<py::object>(reference.release());
}

int dropped = 0;
alignas(16) unsigned char memory[64] = {1, 2, 3, 4, 5, 6, 0, 1, 2};

template <class Form>
python::DlpackTensor<Form> tensor(const py::dict& told) {
    struct Spoken {
        Form managed{};
        std::vector<std::int64_t> extents, strides;
    };
    auto* const spoken = new Spoken{
        {}, told["shape"].cast<std::vector<std::int64_t>>(), told["strides"].cast<std::vector<std::int64_t>>()};
    Form& managed = spoken->managed;
    managed.manager_ctx = spoken;
    managed.deleter = [](Form* given) {
        ++dropped;
        PyErr_Clear(); // as a deleter that calls Python code may do
        delete static_cast<Spoken*>(given->manager_ctx);
    };
    const auto [code, bits, lanes] = told["dtype"].cast<std::tuple<int, std::uint8_t, std::uint16_t>>();
    managed.dl_tensor = {told["null"].cast<bool>() ? nullptr : memory,
                         {static_cast<dlpack::DeviceType>(told["device"].cast<int>()), 0},
                         told["ndim"].cast<std::int32_t>(),
                         {static_cast<dlpack::TypeCode>(code), bits, lanes},
                         spoken->extents.data(),
                         spoken->strides.empty() ? nullptr : spoken->strides.data(),
                         told["byte_offset"].cast<std::uint64_t>()};
    if constexpr (std::is_same_v<Form, dlpack::ManagedTensorVersioned>) {
        managed.version = {told["major"].cast<std::uint32_t>(), 7};
        managed.flags = told["flags"].cast<std::uint64_t>();
    }
    return python::DlpackTensor<Form>(&managed);
}

template <class Form>
py::object through(bool inCapsule, const py::dict& told, python::DlpackCopy copy) {
    auto made = tensor<Form>(told);
    return taken(inCapsule ? python::fromDlpackCapsule(python::toDlpackCapsule(std::move(made)).get(), copy)
                           : python::fromDlpack(std::move(made), copy));
}

template <class Form>
void dropElsewhere(python::DlpackTensor<Form> made) {
    std::thread([gone = std::move(made)]() mutable { gone.reset(); }).join();
}

} // namespace

PYBIND11_MODULE(dlpack_client, module) {
    python::importOrvane();
    module.def("capsule", [](const py::object& array, bool isVersioned, bool forWriting, int copy) {
        return taken(python::toDlpackCapsule(array.ptr(), {isVersioned, forWriting, python::DlpackCopy{copy}}));
    });
    module.def("array", [](const py::object& capsule, int copy) {
        return taken(python::fromDlpackCapsule(capsule.ptr(), python::DlpackCopy{copy}));
    });
    module.def("through", [](bool isVersioned, bool inCapsule, const py::dict& told, int copy) {
        return isVersioned ? through<dlpack::ManagedTensorVersioned>(inCapsule, told, python::DlpackCopy{copy})
                           : through<dlpack::ManagedTensor>(inCapsule, told, python::DlpackCopy{copy});
    });
    module.def("dropped", [] { return dropped; });
    // Tensors of loans and of an array of C++, dropped on a thread that Python does not know.
    module.def("drop_elsewhere", [](const py::object& array) {
        dropElsewhere(python::toDlpack(python::lendElements<double>(array.ptr())));
        dropElsewhere(python::toDlpack<dlpack::ManagedTensor>(python::lendWritableElements<double>(array.ptr())));
        dropElsewhere(python::toDlpack(python::fromPython<double>(array.ptr())));
    });
    module.def("of_own", [] {
        auto array = orvane::data::ArrayFactory().createArray<float>({2, 3});
        orvane::data::writableElementsOf(array)(1, 2) = 5;
        return taken(python::toDlpackCapsule(python::toDlpack(std::move(array))));
    });
}
