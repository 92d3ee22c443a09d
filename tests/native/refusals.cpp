// Loaded before the interpreter: puts a refusal in front of every function of the data-array library that returns a
// status, whichever library it is. A program in C++ in place of the interpreter's, which sees what exceptions leave the
// extension.
#include <orvane/data.hpp>

#include <dlfcn.h>

#include <climits>

struct PyObject;
extern "C" [[gnu::weak]] PyObject* PyObject_CallNoArgs(PyObject*);
extern "C" [[gnu::weak]] PyObject* PyObject_CallObject(PyObject*, PyObject*);
extern "C" [[gnu::weak]] int PyObject_IsInstance(PyObject*, PyObject*);
extern "C" [[gnu::weak]] PyObject* PyTuple_GetItem(PyObject*, long);
extern "C" [[gnu::weak]] PyObject* PyTuple_GetSlice(PyObject*, long, long);
extern "C" [[gnu::weak]] void Py_DecRef(PyObject*);
extern "C" [[gnu::weak]] PyObject PyTuple_Type;
extern "C" [[gnu::weak]] void PyErr_SetString(PyObject*, const char*);
extern "C" [[gnu::weak]] PyObject* PyExc_SystemError;

/// What is answered in place of a status: want of memory, unless another number is set.
extern "C" [[gnu::visibility("default")]] int refusal;
int refusal = 19;

namespace {

using namespace orvane::data::detail;
using TypeMismatch = ArrayException<orvane::Exception, orvane::data::ExceptionType::TypeMismatch>;

thread_local long counted, first, end;

bool refuses() {
    const long number = counted++;
    return number >= first && number < end;
}

/// A refused block goes through its deleter.
template <class... More>
void giveBack(orvane::data::impl::ArrayFactoryImpl*, int, unsigned long*, unsigned long, void* block,
              BufferDeleter deleter, More...) {
    if (block != nullptr && deleter != nullptr)
        deleter(block);
}
void giveBack(...) {}

template <class Function, class Pointer = typename Function::Pointer>
struct Refusing {
    static void* inFrontOf(void* function) { return function; }
};
template <class Function, class... Arguments>
struct Refusing<Function, int (*)(Arguments...)> {
    static inline int (*real)(Arguments...);

    static int ask(Arguments... arguments) {
        if (!refuses())
            return real(arguments...);
        giveBack(arguments...);
        return refusal;
    }
    static void* inFrontOf(void* function) {
        real = reinterpret_cast<int (*)(Arguments...)>(function);
        return reinterpret_cast<void*>(&ask);
    }
};

} // namespace

extern "C" void* get_function_ptr(int number) noexcept {
    static void* const library = dlopen("libOrvaneDataArray.so", RTLD_NOLOAD | RTLD_LAZY);
    static const auto entry = reinterpret_cast<void* (*)(int)>(dlsym(library, "get_function_ptr"));
    void* function = entry(number);
    if (function != nullptr) {
        [&]<class... Function>(std::tuple<Function...>*) {
            ((static_cast<int>(Function::number) == number ? void(function = Refusing<Function>::inFrontOf(function))
                                                           : void()),
             ...);
        }(static_cast<BoundaryFunctions*>(nullptr));
    }
    return function;
}

/// Calls a function, or that in the first place of a tuple with what follows it, with the statuses from `from` on
/// refused, before `to`, from 0 on. Leaves in `number` how many there were.
extern "C" [[gnu::visibility("default")]] PyObject* call_refused(PyObject* function, long from, long to, long* number) {
    PyObject* const arguments =
        PyObject_IsInstance(function, &PyTuple_Type) != 0 ? PyTuple_GetSlice(function, 1, LONG_MAX) : nullptr;
    counted = 0;
    first = from;
    end = to;
    PyObject* result = nullptr;
    try {
        result = arguments != nullptr ? PyObject_CallObject(PyTuple_GetItem(function, 0), arguments)
                                      : PyObject_CallNoArgs(function);
    } catch (const TypeMismatch& exception) {
        PyErr_SetString(PyExc_SystemError, exception.what());
    }
    end = 0;
    Py_DecRef(arguments);
    *number = counted;
    return result;
}
