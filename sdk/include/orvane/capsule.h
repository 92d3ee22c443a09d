/* The border between Orvane's arrays and other extension modules: the capsule
 * `orvanemultidimarrayforpython._capi` and the table of five functions behind it. For C and C++.
 *
 * The interpreter lock must be held for every function in this file. */
#ifndef ORVANE_CAPSULE_H
#define ORVANE_CAPSULE_H

#include <Python.h>

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The capsule's name, which is also the dotted path by which it is imported. */
#define ORVANE_CAPSULE_NAME "orvanemultidimarrayforpython._capi"

/** What `arrayFromBuffer` leaves in `typeCode` when it finds no element type. */
#define ORVANE_NO_TYPE_CODE 32

/** The table. A function's position in it is the interface: none is ever inserted, moved or given another type.
 *
 * `impl` stands for an array of the data-array library, what C++ knows as `orvane::data::impl::ArrayImpl*`. */
typedef struct OrvaneCapsule {
    /** Position 0. A new Python array around `impl`: a new reference, or null with an error set.
     *
     * Takes `impl` over in every case: on failure it has been destroyed. RuntimeError "null data pointer." for null,
     * "invalid type." for characters, unknown element kinds and fewer than two dimensions. Copies the elements once,
     * for Python's side to read. The elements count as column-major, whatever order `impl` was made with.
     *
     * A block of yours that `impl` has adopted has to stay writable: assignments from Python write to it, and one to a
     * read-only mapping ends the process. `arrayFromBuffer` copies what may only be read. The block's deleter runs
     * when the last hold on the array goes. An error that is pending then is put aside, and one that the deleter
     * leaves behind is reported to `sys.unraisablehook`. */
    PyObject* (*arrayFromImpl)(void* impl);

    /** Position 1. The data array behind a Python array: borrowed, or null with an error set.
     *
     * Must not be destroyed, and not be written to. Of a view it is a copy of the selected elements, made on the first
     * call and kept with the view object. Stays valid while the array object lives and is neither assigned to nor
     * reshaped. RuntimeError "object not initialized." for null and for what is no array. */
    void* (*implOfArray)(PyObject* array);

    /** Position 2. A new Python array with a copy of any object's buffer: a new reference, or null.
     *
     * Null comes without an error set when `object` is null or exports no buffer, and with one in all other cases.
     * `typeCode` receives 3 to 12 for the real numeric types in the order double, single, int8, uint8, ... uint64, 13
     * for logical, 10 more for complex elements (so 13 is complex double as well), or `ORVANE_NO_TYPE_CODE`. */
    PyObject* (*arrayFromBuffer)(PyObject* object, int* typeCode);

    /** Position 3. Destroys an array that came from position 0 or 2 and that nobody else has seen, without looking at
     * its reference count. Does nothing for null and for what is no array. `Py_DECREF` does the same, safely. */
    void (*destroyArray)(PyObject* array);

    /** Position 4. Whether `object` exports buffers; false for null. */
    bool (*exportsBuffer)(PyObject* object);
} OrvaneCapsule;

/** The table, imported with the module that offers it; null with an error set. It lives as long as the process, so one
 * import serves for good. */
static inline const OrvaneCapsule* Orvane_ImportCapsule(void) {
    return (const OrvaneCapsule*)PyCapsule_Import(ORVANE_CAPSULE_NAME, 0);
}

#ifdef __cplusplus
}
#endif

#endif /* ORVANE_CAPSULE_H */
