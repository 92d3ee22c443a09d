// The Python module `recorder`: a native thread fills an array of Python's, column after column, while Python looks on.
#include <orvane/pybind11.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <stop_token>
#include <thread>

namespace {

namespace py = pybind11;
namespace python = orvane::python;
using Seconds = std::chrono::duration<double>;
using Clock = std::chrono::steady_clock;

/// What an instrument would tell: channels that swing at frequencies of their own.
double sample(std::size_t channel, std::size_t moment) {
    return std::sin(0.01 * static_cast<double>((channel + 1) * moment));
}

/// A thread that writes to the elements of an array, a row a channel and a column a moment, at intervals. It never asks
/// for the interpreter lock, so nobody who holds the lock waits for it in vain.
class Recording {
public:
    Recording(const py::object& array, double interval)
        : m_loan(python::lendWritableElements<double>(array.ptr())), m_channels(m_loan), m_interval(interval),
          m_thread([this](const std::stop_token& stop) { record(stop); }) {}

    /// How many columns have all their elements.
    std::size_t columns() const noexcept { return m_columns.load(std::memory_order_acquire); }
    bool isRunning() const noexcept { return m_isRunning.load(std::memory_order_acquire); }

    /// The recording ends after the column at hand.
    void stop() noexcept { m_thread.request_stop(); }

    /// Waits until the recording has ended, or for so many seconds, and tells whether it has. An interruption by the
    /// user ends it.
    bool wait(double timeout) {
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(std::min(timeout, 1e9)));
        while (isRunning() && Clock::now() < end) {
            {
                const python::WithoutInterpreterLock unlocked;
                std::unique_lock lock(m_mutex);
                const auto nextLook = std::min(end, Clock::now() + std::chrono::milliseconds(50));
                m_changed.wait_until(lock, nextLook, [this] { return !isRunning(); });
            }
            if (PyErr_CheckSignals() != 0) { // Ctrl-C, whose handler runs in here
                stop();
                throw python::PythonError();
            }
        }
        return !isRunning();
    }

private:
    void record(const std::stop_token& stop) {
        for (std::size_t moment = 0; moment < m_channels.extent(1) && !stop.stop_requested(); ++moment) {
            for (std::size_t channel = 0; channel < m_channels.extent(0); ++channel) {
                m_channels(channel, moment) = sample(channel, moment);
            }
            m_columns.store(moment + 1, std::memory_order_release); // who sees the number sees the elements
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, stop, m_interval, [] { return false; }); // until it is told to stop
        }
        m_loan.giveBack(); // on a thread without the interpreter lock
        {
            const std::lock_guard lock(m_mutex);
            m_isRunning.store(false, std::memory_order_release);
        }
        m_changed.notify_all();
    }

    python::LentElements<double> m_loan; ///< keeps the elements in their place, whatever becomes of the array
    orvane::data::ColumnMajorSpan<double, 2> m_channels;
    Seconds m_interval;
    std::atomic<std::size_t> m_columns = 0;
    std::atomic<bool> m_isRunning = true;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::jthread m_thread; ///< stopped and waited for first when the recording goes
};

} // namespace

PYBIND11_MODULE(recorder, module) {
    python::importOrvane();
    module.doc() = "Fills arrays from a native thread.";
    py::class_<Recording>(module, "Recording", "Fills a real orvane.double matrix, a column every `interval` seconds.")
        .def(py::init<const py::object&, double>(), py::arg("array"), py::arg("interval"))
        .def_property_readonly("columns", &Recording::columns, "How many columns are complete.")
        .def_property_readonly("running", &Recording::isRunning)
        .def("stop", &Recording::stop, "Ends the recording after the column at hand.")
        .def("wait", &Recording::wait, py::arg("timeout") = 1e9,
             "Waits for the end, or for so many seconds; tells whether it has ended. Ctrl-C ends it.");
}
