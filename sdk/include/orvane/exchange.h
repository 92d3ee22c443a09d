/* The second table behind the capsule `orvanemultidimarrayforpython._capi`: elements lent without a copy, arrays and
 * blocks of memory handed over without one. It lies in the capsule's context, beside the five functions of
 * <orvane/capsule.h>. For C and C++; <orvane/python.hpp> has the comfortable form.
 *
 * The table and the structures that the extension makes only ever grow at their end, and `size` tells how far an
 * extension's reach. A module that is built against this header may meet an older extension: before using what came
 * after version 1, ask `ORVANE_EXCHANGE_HAS` to do without it, or `ORVANE_EXCHANGE_REQUIRE` to have an error set.
 *
 * The interpreter lock must be held for every function but `giveBack`. Null comes with a Python error set. */
#ifndef ORVANE_EXCHANGE_H
#define ORVANE_EXCHANGE_H

#include <orvane/capsule.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Elements that Python goes on using while native code reads or writes them. Made by `lend`. */
typedef struct OrvaneLoan {
    /** The first element that is lent. As long as the loan is open, the block stays where it is, whatever Python does
     * to the array. Null only where there are no elements. */
    void* elements;
    /** How many elements there are. */
    size_t elementCount;
    /** In bytes; both parts of a complex element together. */
    size_t elementSize;
    /** The element kind: the data-array library's number, 0 for logical, 3 to 12 for the real numeric kinds in the
     * order double, single, int8, uint8, ... uint64, 13 to 22 for the complex ones. */
    int type;
    /** How many dimensions: at least 2 for a whole array, and for a view as many as its subscripts have left. */
    int rank;
    /** `rank` of them, outermost Python level first. */
    const ptrdiff_t* extents;
    /** Bytes from one element to the next in each dimension; may be negative. */
    const ptrdiff_t* strides;
} OrvaneLoan;

/** What `lend` is asked for. */
enum OrvaneLoanFlag {
    /** The elements may be written to. The writes show in Python at once. */
    ORVANE_LOAN_WRITABLE = 1,
    /** Column-major and without gaps. For reading, a view that is not so is gathered into a block of the loan's own;
     * for writing it is refused with ValueError. */
    ORVANE_LOAN_CONTIGUOUS = 2
};

/** A block of elements, column-major and without gaps, that comes with its owner. */
typedef struct OrvaneBlock {
    /** `sizeof(OrvaneBlock)`, so that later extensions know how much of it there is. */
    size_t size;
    /** The first element, aligned as its type asks. May be null where there are no elements. */
    void* elements;
    /** As in `OrvaneLoan`. */
    int type;
    /** Any number of dimensions. Python's arrays have two at least: one dimension becomes a row, and extents of 1
     * beyond the second are dropped at the end. */
    int rank;
    const ptrdiff_t* extents;
    /** Nonzero: the block is never written to. The first assignment from Python, or the first loan for writing, takes a
     * copy; what was exported or lent for reading before goes on showing the block. */
    int isReadOnly;
    /** Called once with `owner`, with the interpreter lock held, when nothing uses the block any more: no array, view,
     * export or loan. May be null. It must not throw, and leaves no Python error behind. */
    void (*release)(void* owner);
    void* owner;
} OrvaneBlock;

/** The table. */
typedef struct OrvaneExchange {
    /** How many bytes of this structure the extension has. */
    size_t size;
    /** 1. */
    int version;

    /** The element kind of an array, as `OrvaneLoan::type`; -1 without an error set for null and for what is no array.
     * Costs next to nothing. */
    int (*kindOf)(PyObject* object);

    /** The elements of an array or view, lent; null with an error set. `flags` are those above.
     *
     * Nothing is copied, but for what the flags say. Python may read and assign to the array meanwhile, reshape and
     * delete it; whoever lends elements for writing sees to it that nobody reads them at the same time on another
     * thread. Clones and hand-outs (position 1) made meanwhile have elements of their own; an array that was handed out
     * before is brought up to date when a loan for writing is given back.
     *
     * RuntimeError "object not initialized." for null and for what is no array; "too many indices." and IndexError for
     * a view that a `reshape` has left without its elements. */
    const OrvaneLoan* (*lend)(PyObject* array, unsigned flags);

    /** Gives a loan back; does nothing for null. On any thread, with the interpreter lock or without, also while the
     * interpreter ends. Without the lock the rest of the work is left to a thread that has it: freeing blocks, and
     * bringing the array that was handed out up to date. */
    void (*giveBack)(const OrvaneLoan* loan);

    /** Position 0 of the capsule for who gives up every pointer to `impl`: the same array, and no element is copied.
     * Takes `impl` over in every case. */
    PyObject* (*arrayFromOwnImpl)(void* impl);

    /** A new array around a block, without a copy: a new reference, or null with an error set. The block is taken over
     * in every case: on failure it has been released. RuntimeError "invalid type." for unknown kinds and negative
     * extents, ValueError for a block that is not aligned, has elements but no address, or is larger than memory. */
    PyObject* (*arrayFromBlock)(const OrvaneBlock* block);
} OrvaneExchange;

/** How far a table has to reach to have a member. */
#define ORVANE_EXCHANGE_REACH(member) (offsetof(OrvaneExchange, member) + sizeof(((OrvaneExchange*)NULL)->member))

/** Whether the table of the extension at hand has a member. */
#define ORVANE_EXCHANGE_HAS(table, member) ((table)->size >= ORVANE_EXCHANGE_REACH(member))

/** The same; where it has not, ImportError is set, which names the member. */
#define ORVANE_EXCHANGE_REQUIRE(table, member) Orvane_RequireExchange(table, ORVANE_EXCHANGE_REACH(member), #member)

/** What `ORVANE_EXCHANGE_REQUIRE` calls. An extension without a table has no member of it. */
static inline bool Orvane_RequireExchange(const OrvaneExchange* table, size_t reach, const char* member) {
    if (table != NULL && table->size >= reach) {
        return true;
    }
    PyErr_Format(PyExc_ImportError,
                 "the installed orvane is older than this module needs, it has no '%s': please install a newer one",
                 member);
    return false;
}

/** The table; null with an error set: that of a failing import, or ImportError for an extension from before there was
 * one. It lives as long as the process. */
static inline const OrvaneExchange* Orvane_ImportExchange(void) {
    const OrvaneExchange* table = NULL;
    PyObject* capsule = NULL;
    PyObject* module = PyImport_ImportModule("orvanemultidimarrayforpython");
    if (module != NULL) {
        capsule = PyObject_GetAttrString(module, "_capi");
        Py_DECREF(module);
    }
    if (capsule != NULL) {
        table = (const OrvaneExchange*)PyCapsule_GetContext(capsule);
        if (table == NULL && !PyErr_Occurred()) {
            ORVANE_EXCHANGE_REQUIRE(table, lend);
        }
        Py_DECREF(capsule);
    }
    return table;
}

#ifdef __cplusplus
}
#endif

#endif /* ORVANE_EXCHANGE_H */
