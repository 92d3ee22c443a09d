/* The functions of the data-array library by their numbers, for C, Rust, Cython, ctypes and whoever else does without
 * the C++ classes. Needs nothing but C99.
 *
 * The library exports one function, `get_function_ptr`. It gives the address of the function that bears a number, or
 * null where the library at hand does not offer it: numbers below 110 are there always, the others have a fallback.
 *
 *     OrvaneArrayGetType getType = ORVANE_FUNCTION(OrvaneArrayGetType);
 *     int type, status = getType(impl, &type);
 *
 * Functions that return `int` return a status, 0 for success; out-parameters are set only then. None throws. An array
 * is worked on in one thread at a time. */
#ifndef ORVANE_BOUNDARY_H
#define ORVANE_BOUNDARY_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An array of the library, what the capsule calls `impl`. Has one owner, who destroys it. */
typedef struct OrvaneArray OrvaneArray;
/** The maker of arrays and buffers. */
typedef struct OrvaneFactory OrvaneFactory;
/** A place in an array: its first element or the end. */
typedef struct OrvaneIterator OrvaneIterator;
/** One writable element of an array. */
typedef struct OrvaneReference OrvaneReference;

/** Frees the block that it is given, on whatever thread drops it. A null deleter frees nothing. */
typedef void (*OrvaneDeleter)(void* block);

/** Element types. Complex elements, which lie as (real, imaginary) pairs, have numbers greater by 10. */
enum OrvaneElementType {
    ORVANE_LOGICAL = 0, /**< one byte, 0 or 1 */
    ORVANE_CHARACTER = 1,
    ORVANE_DOUBLE = 3,
    ORVANE_SINGLE = 4,
    ORVANE_INT8 = 5,
    ORVANE_UINT8 = 6,
    ORVANE_INT16 = 7,
    ORVANE_UINT16 = 8,
    ORVANE_INT32 = 9,
    ORVANE_UINT32 = 10,
    ORVANE_INT64 = 11,
    ORVANE_UINT64 = 12,
    ORVANE_COMPLEX_OFFSET = 10
};

/** The order of elements in a buffer. It is told to the library and to nobody else: Python and the C++ classes take the
 * elements of every array as column-major. */
enum OrvaneLayout { ORVANE_COLUMN_MAJOR = 0, ORVANE_ROW_MAJOR = 1 };

/** The numbers of the functions; their types, which bear the names without `Number`, stand below. */
enum OrvaneFunctionNumber {
    OrvaneFactoryCreateArrayNumber = 1,
    OrvaneFactoryCreateScalarNumber = 3,
    OrvaneFactoryCreateArrayFromColumnMajorBufferNumber = 11,
    OrvaneFactoryCreateBufferNumber = 13,
    OrvaneFactoryCreateNumber = 14,
    OrvaneFactoryDestroyNumber = 15,
    OrvaneReferenceDestroyNumber = 23,
    OrvaneArrayCreateEmptyNumber = 49,
    OrvaneArrayDestroyNumber = 50,
    OrvaneArrayGetDimensionsNumber = 51,
    OrvaneArrayGetNumberOfElementsNumber = 52,
    OrvaneArrayGetTypeNumber = 53,
    OrvaneArrayUnshareNumber = 55,
    OrvaneArrayGetReferenceNumber = 56,
    OrvaneArrayBeginFallbackNumber = 57,
    OrvaneArrayEndFallbackNumber = 58,
    OrvaneTypesAreConvertibleNumber = 59,
    OrvaneArrayReleaseNumber = 60,
    OrvaneIteratorCloneNumber = 63,
    OrvaneIteratorDestroyNumber = 64,
    OrvaneIteratorGetElementNumber = 71,
    OrvaneIteratorGetReferenceNumber = 72,
    OrvaneReferenceGetPartsNumber = 94,
    OrvaneReferenceSetComplexNumber = 96,
    OrvaneFactoryCreateArrayFromBufferNumber = 110,
    OrvaneIteratorGetComplexElementNumber = 113,
    OrvaneArrayBeginNumber = 114,
    OrvaneArrayEndNumber = 115,
    /* What Orvane's own library offers beyond the common numbers, in a range far from any that others may use. */
    OrvaneFactoryCreateZeroedBufferNumber = 0x4F560001,
    OrvaneArrayGetFixedElementsNumber = 0x4F560002,
    OrvaneFactoryCreateUnfilledArrayNumber = 0x4F560003
};

/** The library's one export. */
#ifdef __cplusplus
void* get_function_ptr(int number) noexcept;
#else
void* get_function_ptr(int number);
#endif

/** The function of a type, `ORVANE_FUNCTION(OrvaneArrayGetType)`, or null. */
#define ORVANE_FUNCTION(type) (__extension__(type) get_function_ptr(type##Number))

/* ---- Making arrays ---- */

/** The factory, which is cheap and stateless, and its end. */
typedef int (*OrvaneFactoryCreate)(OrvaneFactory** out);
typedef void (*OrvaneFactoryDestroy)(OrvaneFactory* factory);

/** A block for so many elements, with unspecified contents, and what frees it. */
typedef int (*OrvaneFactoryCreateBuffer)(OrvaneFactory* factory, void** buffer, OrvaneDeleter* deleter, int type,
                                         unsigned long numElements);

/** An array around a block of one's own or from number 13, column-major. The block has to be writable, and aligned as
 * its elements ask. It is the library's from here on, also when the call fails, and goes through its deleter once. */
typedef int (*OrvaneFactoryCreateArrayFromColumnMajorBuffer)(OrvaneFactory* factory, int type, unsigned long* dims,
                                                             unsigned long numDims, void* buffer, OrvaneDeleter deleter,
                                                             OrvaneArray** out);
/** The same with an `OrvaneLayout`. May be missing. */
typedef int (*OrvaneFactoryCreateArrayFromBuffer)(OrvaneFactory* factory, int type, unsigned long* dims,
                                                  unsigned long numDims, void* buffer, OrvaneDeleter deleter,
                                                  OrvaneArray** out, int layout);

/** An array of complex elements, whose values are unspecified. Other element types are made from buffers: not every
 * library makes them here. */
typedef int (*OrvaneFactoryCreateArray)(OrvaneFactory* factory, int type, unsigned long* dims, unsigned long numDims,
                                        OrvaneArray** out);
/** A 1-by-1 array with a copy of the value. */
typedef int (*OrvaneFactoryCreateScalar)(OrvaneFactory* factory, int type, void const* value, OrvaneArray** out);
/** An empty array. */
typedef OrvaneArray* (*OrvaneArrayCreateEmpty)(void);

/* ---- Whole arrays ---- */

typedef void (*OrvaneArrayDestroy)(OrvaneArray* array);
/** The dimensions stay the array's own and live as long as it does. */
typedef void (*OrvaneArrayGetDimensions)(OrvaneArray* array, unsigned long* numDims, unsigned long** dims);
typedef unsigned long (*OrvaneArrayGetNumberOfElements)(OrvaneArray* array);
typedef int (*OrvaneArrayGetType)(OrvaneArray* array, int* type);
/** The step before writing and releasing. Who shares an array with others says so by a false `isUnique`: then the
 * answer is true, and the caller goes on with the new array in `copy`, which is null for want of memory. */
typedef bool (*OrvaneArrayUnshare)(OrvaneArray* array, bool isUnique, OrvaneArray** copy);
/** Whether an array of the one type may be taken as one of the other; at least of the same. */
typedef int (*OrvaneTypesAreConvertible)(int wantedType, int actualType, bool* convertible);
/** Hands the elements over, in the very block that they lie in when nobody shares the array. After that the array may
 * only be destroyed. */
typedef int (*OrvaneArrayRelease)(OrvaneArray* array, bool isUnique, void** buffer, OrvaneDeleter* deleter);

/* ---- Elements ---- */

/** The first element. For writing, after the unshare step, which may move the elements; an address that was asked for
 * before is not to be written to. Null for want of memory. */
typedef OrvaneIterator* (*OrvaneArrayBegin)(OrvaneArray* array, bool forWriting);
typedef OrvaneArrayBegin OrvaneArrayBeginFallback;
/** The place behind the last element. */
typedef OrvaneIterator* (*OrvaneArrayEnd)(OrvaneArray* array, bool forWriting);
typedef OrvaneArrayEnd OrvaneArrayEndFallback;
typedef OrvaneIterator* (*OrvaneIteratorClone)(OrvaneIterator* iterator);
typedef void (*OrvaneIteratorDestroy)(OrvaneIterator* iterator);
/** The address of a real element. The elements lie there without gaps. The address outlives the iterator: it is valid
 * until the array is unshared, released or destroyed. */
typedef void (*OrvaneIteratorGetElement)(OrvaneIterator* iterator, void** element);
/** The same of a complex element. May be missing, then by a reference. */
typedef OrvaneIteratorGetElement OrvaneIteratorGetComplexElement;

/** A reference to the element of an iterator, or to one by its place in storage, after the unshare step. */
typedef void (*OrvaneIteratorGetReference)(OrvaneIterator* iterator, OrvaneReference** out);
typedef int (*OrvaneArrayGetReference)(OrvaneArray* array, unsigned long index, OrvaneReference** out);
typedef void (*OrvaneReferenceDestroy)(OrvaneReference* reference);
/** The addresses of the two parts of a complex element. */
typedef int (*OrvaneReferenceGetParts)(OrvaneReference* reference, void** realPart, void** imagPart);
/** Stores copies of the two parts in a complex element; `type` is the complex element type. */
typedef int (*OrvaneReferenceSetComplex)(OrvaneReference* reference, int type, void* realPart, void* imagPart);

/* ---- In Orvane's own library ---- */

/** As number 13, zero-filled. */
typedef int (*OrvaneFactoryCreateZeroedBuffer)(OrvaneFactory* factory, void** buffer, OrvaneDeleter* deleter, int type,
                                               unsigned long numElements);
/** The address of the first element, which never moves while the array lives. Its only owner may write there. */
typedef void* (*OrvaneArrayGetFixedElements)(OrvaneArray* array);
/** A column-major array, and the address of its elements for the caller to fill. */
typedef int (*OrvaneFactoryCreateUnfilledArray)(OrvaneFactory* factory, int type, unsigned long* dims,
                                                unsigned long numDims, OrvaneArray** out, void** elements);

#ifdef __cplusplus
}
#endif

#endif /* ORVANE_BOUNDARY_H */
