// Elements lent by Python's arrays and blocks lent to them, as an author of native modules would use them.
#include <orvane/pybind11.hpp>

#include <pybind11/stl.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace py = pybind11;
namespace python = orvane::python;
namespace data = orvane::data;

namespace {

py::object taken(python::Reference reference) {
    return py::reinterpret_steal<py::object>(reference.release());
}

/// A loan that stays open until it is told otherwise.
template <class T>
class Open {
public:
    explicit Open(python::LentElements<T> loan) : m_loan(std::move(loan)) {}

    std::uintptr_t address() const { return reinterpret_cast<std::uintptr_t>(m_loan->data()); }
    std::vector<double> values() const { return {m_loan->data(), m_loan->data() + m_loan->size()}; }
    auto shape() const {
        const data::ColumnMajorSpan<T> span = *m_loan;
        return std::pair(span.extents(), span.strides());
    }
    /// Gives what stood there.
    double write(std::size_t place, double value) { return std::exchange(m_loan->data()[place], value); }
    void giveBack() { m_loan.reset(); }
    /// On a thread that Python does not know, while this one waits for it with the lock.
    void giveBackElsewhere() {
        std::thread([loan = std::move(*m_loan)]() mutable { loan.giveBack(); }).join();
        m_loan.reset();
    }

private:
    std::optional<python::LentElements<T>> m_loan;
};

template <class T>
py::class_<Open<T>> defineOpen(py::module_& module, const char* name) {
    return py::class_<Open<T>>(module, name)
        .def("address", &Open<T>::address)
        .def("values", &Open<T>::values)
        .def("shape", &Open<T>::shape)
        .def("give_back", &Open<T>::giveBack)
        .def("give_back_unlocked", &Open<T>::giveBack, py::call_guard<py::gil_scoped_release>())
        .def("give_back_elsewhere", &Open<T>::giveBackElsewhere);
}

std::atomic<int> released = 0;

struct Guard {
    bool isArmed = true;
    Guard() = default;
    Guard(Guard&& other) noexcept : isArmed(std::exchange(other.isArmed, false)) {}
    ~Guard() { released += isArmed; }
};

std::vector<double> block;

python::Reference adopted(bool isReadOnly, std::vector<std::size_t> extents) {
    block.assign({1, 2, 3, 4, 5, 6});
    if (isReadOnly) {
        return python::adoptBlock<const double>(block.data(), extents, Guard());
    }
    return python::adoptBlock(block.data(), extents, [](double* first) { released += first == block.data(); });
}

} // namespace

PYBIND11_MODULE(loan_client, module) {
    python::importOrvane();
    defineOpen<const double>(module, "Reading");
    defineOpen<double>(module, "Writing").def("write", &Open<double>::write, py::call_guard<py::gil_scoped_release>());

    module.def("lend", [](const py::object& array, bool forWriting, bool withoutGaps) {
        PyObject* const object = array.ptr();
        using Either = std::variant<Open<const double>, Open<double>>;
        if (forWriting) {
            return Either(Open(withoutGaps ? python::lendContiguousWritableElements<double>(object)
                                           : python::lendWritableElements<double>(object)));
        }
        return Either(
            Open(withoutGaps ? python::lendContiguousElements<double>(object) : python::lendElements<double>(object)));
    });
    // What position 1 hands out.
    module.def("handed_out",
               [](const data::TypedArray<double>& array) { return std::vector<double>(array.begin(), array.end()); });
    module.def("adopted", adopted);
    module.def("adopted_block", [] { return block; });
    module.def("released", [] { return released.load(); });
    module.def("moved", [](std::vector<double> elements, const std::vector<std::size_t>& extents) {
        const auto address = reinterpret_cast<std::uintptr_t>(elements.data());
        return std::pair(taken(python::toPython(std::move(elements), extents)), address);
    });
    // Owners that are asked beside being moved in, as callers write it.
    module.def("moved_beside", [](std::vector<double> owner, std::vector<double> vector) {
        const auto block = python::adoptBlock(owner.data(), {2, owner.size() / 2}, std::move(owner));
        const auto array = python::toPython(python::Vector<double>(std::move(vector), {2, vector.size() / 2}));
        return std::pair(py::reinterpret_borrow<py::object>(block.get()),
                         py::reinterpret_borrow<py::object>(array.get()));
    });
    module.def("given_up", [](std::size_t count) {
        auto array = data::ArrayFactory().createArray<double>({1, count});
        const auto address = reinterpret_cast<std::uintptr_t>(data::writableElementsOf(array).data());
        return std::pair(taken(python::toPython(std::move(array))), address);
    });
}
