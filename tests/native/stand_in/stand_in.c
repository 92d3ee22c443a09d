/* A data-array library that knows of its clients what orvane/boundary.h says, and takes every liberty that it leaves:
 *
 * - only the functions of the first release level;
 * - memory is handed out full of rubbish, and overwritten when it is given back;
 * - empty buffers are null, and the empty array has no dimensions;
 * - copies share their elements with the original until one of them is written to;
 * - the first writing iterator of an array moves its elements to another block.
 *
 * It ends the process with a message when a client misuses it: objects that are gone, blocks of the wrong size, writing
 * without the unshare step or through an address that was given for reading. */
#include <orvane/boundary.h>

#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { OK = 0, INVALID_INDEX = 1, TYPE_MISMATCH = 8, BAD_TYPE = 9, NO_MEMORY = 19, TOO_MANY = 26 };
enum { RUBBISH = 0xA5, GONE = 0xDB, SEALED_BYTES = 4096, RETIRED = 8192 };
typedef enum Kind { FACTORY = 1, ARRAY, ITERATOR, REFERENCE } Kind;

static void require(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "stand-in for the data-array library: %s\n", what);
        abort();
    }
}

/* ---- Objects that are known to be alive or gone ---- */

/* First member of all that is handed out. */
typedef unsigned Tag;

/* What is gone keeps its memory for a while, so that whoever still uses it is noticed. */
static void free_later(void* memory) {
    static void* retired[RETIRED];
    static unsigned next;
    free(retired[next]);
    retired[next] = memory;
    next = (next + 1) % RETIRED;
}

static void* make_object(Kind kind, size_t size) {
    Tag* object = calloc(1, size);
    require(object != NULL, "no memory for a few bytes");
    *object = kind;
    return object;
}

static void require_alive(const void* object, Kind kind) {
    require(object != NULL, "null in place of an object");
    require(*(const Tag*)object != GONE, "an object that is gone is used");
    require(*(const Tag*)object == kind, "an object of another kind");
}

static void retire(void* object, Kind kind) {
    require_alive(object, kind);
    *(Tag*)object = GONE;
    free_later(object);
}

static void iterator_destroy(OrvaneIterator* iterator) {
    retire(iterator, ITERATOR);
}

static void reference_destroy(OrvaneReference* reference) {
    retire(reference, REFERENCE);
}

/* ---- Element types and sizes ---- */

static size_t element_size(int type) {
    static const size_t sizes[] = {1, 2, 0, 8, 4, 1, 1, 2, 2, 4, 4, 8, 8, 16, 8, 2, 2, 4, 4, 8, 8, 16, 16};
    return type >= 0 && type < (int)(sizeof sizes / sizeof *sizes) ? sizes[type] : 0;
}

static bool is_complex(int type) {
    return type > ORVANE_UINT64;
}

static int count_elements(int type, const unsigned long* dims, unsigned long numDims, size_t* count) {
    if (element_size(type) == 0)
        return BAD_TYPE;
    bool fits = true, isEmpty = false;
    *count = 1;
    for (unsigned long d = 0; d < numDims; ++d) {
        isEmpty = isEmpty || dims[d] == 0;
        fits = fits && (isEmpty || *count <= LONG_MAX / element_size(type) / dims[d]);
        *count *= dims[d];
    }
    return fits || isEmpty ? OK : TOO_MANY;
}

/* ---- Buffers and the blocks of arrays ---- */

/* Stands in front of every buffer from here. */
typedef struct Header {
    size_t size, padding;
} Header;

static void free_buffer(void* buffer) {
    Header* header = (Header*)buffer - 1;
    require(header->size != SIZE_MAX, "a buffer is freed twice");
    const size_t size = header->size;
    memset(buffer, GONE, size);
    header->size = SIZE_MAX;
    (size < SEALED_BYTES ? free_later : free)(header);
}

static void* make_buffer(size_t size) {
    Header* header = size <= LONG_MAX / 2 ? malloc(sizeof(Header) + size) : NULL;
    if (header == NULL)
        return NULL;
    header->size = size;
    return memset(header + 1, RUBBISH, size);
}

/* The elements of one array, or of several until one is written to. */
typedef struct Block {
    unsigned owners;
    unsigned char* bytes;
    size_t size;
    OrvaneDeleter deleter;
    bool mayBeWritten; /* an address for writing has been handed out, for good */
    uint64_t seal;     /* of the bytes that nobody may write to */
} Block;

static uint64_t seal_of(const Block* block) {
    uint64_t seal = 14695981039346656037u;
    for (size_t i = 0; i < block->size && i < SEALED_BYTES; ++i)
        seal = (seal ^ block->bytes[i]) * 1099511628211u;
    return seal;
}

static Block* make_block(void* bytes, size_t size, OrvaneDeleter deleter) {
    Block* block = malloc(sizeof *block);
    require(block != NULL, "no memory for a few bytes");
    *block = (Block){1, bytes, size, deleter, false, 0};
    block->seal = seal_of(block);
    return block;
}

static void check_seal(const Block* block) {
    require(block->mayBeWritten || seal_of(block) == block->seal,
            "written through an address that was given for reading");
}

static void drop_block(Block* block) {
    if (--block->owners > 0)
        return;
    if (block->deleter != NULL && block->bytes != NULL)
        block->deleter(block->bytes);
    free(block);
}

static Block* copy_block(const Block* block) {
    void* bytes = make_buffer(block->size);
    require(bytes != NULL, "no memory for a copy");
    return make_block(block->size > 0 ? memcpy(bytes, block->bytes, block->size) : bytes, block->size, free_buffer);
}

/* ---- Factories ---- */

static struct OrvaneFactory {
    Tag tag;
} theFactory = {FACTORY};

static int factory_create(OrvaneFactory** out) {
    *out = &theFactory;
    return OK;
}

static void factory_destroy(OrvaneFactory* factory) {
    require_alive(factory, FACTORY);
}

static int create_buffer(OrvaneFactory* factory, void** buffer, OrvaneDeleter* deleter, int type, unsigned long count) {
    size_t checked = 0;
    require_alive(factory, FACTORY);
    const int status = count_elements(type, &count, 1, &checked);
    if (status != OK)
        return status;
    *buffer = checked > 0 ? make_buffer(checked * element_size(type)) : NULL;
    *deleter = free_buffer;
    return *buffer != NULL || checked == 0 ? OK : NO_MEMORY;
}

/* ---- Arrays ---- */

struct OrvaneArray {
    Tag tag;
    int type;
    unsigned long numDims;
    unsigned long* dims;
    size_t count;
    Block* block;    /* null once released */
    bool isUnshared; /* the unshare step has been taken since the last writing iterator */
};

static void require_readable(const OrvaneArray* array) {
    require_alive(array, ARRAY);
    require(array->block != NULL, "an array is used that has been released");
    check_seal(array->block);
}

static OrvaneArray* make_array(int type, const unsigned long* dims, unsigned long numDims, size_t count, Block* block) {
    OrvaneArray* array = make_object(ARRAY, sizeof *array);
    array->type = type;
    array->numDims = numDims;
    array->dims = calloc(numDims + 1, sizeof *dims);
    for (unsigned long d = 0; d < numDims; ++d)
        array->dims[d] = dims[d];
    array->count = count;
    array->block = block;
    return array;
}

static int create_from_buffer(OrvaneFactory* factory, int type, unsigned long* dims, unsigned long numDims,
                              void* buffer, OrvaneDeleter deleter, OrvaneArray** out) {
    size_t count = 0;
    require_alive(factory, FACTORY);
    const int status = count_elements(type, dims, numDims, &count);
    if (status != OK) {
        if (deleter != NULL && buffer != NULL)
            deleter(buffer);
        return status;
    }
    const size_t size = count * element_size(type);
    require(buffer != NULL || size == 0, "null in place of elements");
    require(deleter != free_buffer || buffer == NULL || ((Header*)buffer)[-1].size == size, "a buffer of another size");
    *out = make_array(type, dims, numDims, count, make_block(buffer, size, deleter));
    return OK;
}

static int create_complex(OrvaneFactory* factory, int type, unsigned long* dims, unsigned long numDims,
                          OrvaneArray** out) {
    size_t count = 0;
    require(is_complex(type), "number 1 is asked for an array of real elements");
    const int status = count_elements(type, dims, numDims, &count);
    void* buffer = status == OK ? make_buffer(count * element_size(type)) : NULL;
    if (status == OK && buffer == NULL)
        return NO_MEMORY;
    return create_from_buffer(factory, type, dims, numDims, buffer, free_buffer, out);
}

static int create_scalar(OrvaneFactory* factory, int type, void const* value, OrvaneArray** out) {
    void* buffer = memcpy(make_buffer(element_size(type)), value, element_size(type));
    return create_from_buffer(factory, type, (unsigned long[]){1, 1}, 2, buffer, free_buffer, out);
}

static OrvaneArray* create_empty(void) {
    return make_array(ORVANE_DOUBLE, NULL, 0, 0, make_block(NULL, 0, NULL));
}

static void array_destroy(OrvaneArray* array) {
    require_alive(array, ARRAY);
    if (array->block != NULL) {
        check_seal(array->block);
        drop_block(array->block);
    }
    free(array->dims);
    retire(array, ARRAY);
}

static void get_dimensions(OrvaneArray* array, unsigned long* numDims, unsigned long** dims) {
    require_readable(array);
    *numDims = array->numDims;
    *dims = array->dims;
}

static unsigned long get_number_of_elements(OrvaneArray* array) {
    require_readable(array);
    return array->count;
}

static int get_type(OrvaneArray* array, int* type) {
    require_readable(array);
    *type = array->type;
    return OK;
}

static bool unshare(OrvaneArray* array, bool isUnique, OrvaneArray** copy) {
    require_readable(array);
    array->isUnshared = array->isUnshared || isUnique;
    if (isUnique)
        return false;
    /* Who holds an address for writing may use it at any time, so only unwritten elements can be shared. */
    Block* block = array->block->mayBeWritten ? copy_block(array->block) : array->block;
    block->owners += block == array->block;
    *copy = make_array(array->type, array->dims, array->numDims, array->count, block);
    (*copy)->isUnshared = true;
    return true;
}

static int types_are_convertible(int wanted, int actual, bool* convertible) {
    *convertible = wanted == actual;
    return OK;
}

static int array_release(OrvaneArray* array, bool isUnique, void** buffer, OrvaneDeleter* deleter) {
    require_readable(array);
    Block* block = isUnique && array->block->owners == 1 ? array->block : copy_block(array->block);
    if (block != array->block)
        drop_block(array->block);
    *buffer = block->bytes;
    *deleter = block->deleter;
    free(block);
    array->block = NULL;
    return OK;
}

/* ---- Elements ---- */

/* Gives an array elements that no other shares and whose address may be written to. */
static void prepare_for_writing(OrvaneArray* array) {
    require_readable(array);
    require(array->isUnshared, "written without the unshare step");
    array->isUnshared = false;
    if (!array->block->mayBeWritten) {
        Block* moved = copy_block(array->block);
        drop_block(array->block);
        array->block = moved;
        moved->mayBeWritten = true;
    }
}

struct OrvaneIterator {
    Tag tag;
    OrvaneArray* array;
    const Block* block;
    unsigned char* place;
};

struct OrvaneReference {
    Tag tag;
    int type;
    unsigned char* element;
};

static OrvaneIterator* array_begin(OrvaneArray* array, bool forWriting) {
    require_readable(array);
    if (forWriting)
        prepare_for_writing(array);
    OrvaneIterator* iterator = make_object(ITERATOR, sizeof *iterator);
    iterator->array = array;
    iterator->block = array->block;
    iterator->place = array->block->bytes;
    return iterator;
}

static OrvaneIterator* array_end(OrvaneArray* array, bool forWriting) {
    OrvaneIterator* iterator = array_begin(array, forWriting);
    iterator->place += array->block->size;
    return iterator;
}

static OrvaneIterator* iterator_clone(OrvaneIterator* iterator) {
    require_alive(iterator, ITERATOR);
    return memcpy(make_object(ITERATOR, sizeof *iterator), iterator, sizeof *iterator);
}

static unsigned char* place_of(const OrvaneIterator* iterator) {
    require_alive(iterator, ITERATOR);
    require_readable(iterator->array);
    require(iterator->block == iterator->array->block, "an iterator from before the elements moved");
    return iterator->place;
}

static void get_element(OrvaneIterator* iterator, void** element) {
    *element = place_of(iterator);
    require(!is_complex(iterator->array->type), "number 71 is asked for a complex element");
}

static OrvaneReference* make_reference(int type, unsigned char* element) {
    OrvaneReference* reference = make_object(REFERENCE, sizeof *reference);
    reference->type = type;
    reference->element = element;
    return reference;
}

static void get_reference_at(OrvaneIterator* iterator, OrvaneReference** out) {
    *out = make_reference(iterator->array->type, place_of(iterator));
}

static int get_reference(OrvaneArray* array, unsigned long index, OrvaneReference** out) {
    prepare_for_writing(array);
    if (index >= array->count)
        return INVALID_INDEX;
    *out = make_reference(array->type, array->block->bytes + index * element_size(array->type));
    return OK;
}

static int get_parts(OrvaneReference* reference, void** realPart, void** imagPart) {
    require_alive(reference, REFERENCE);
    require(is_complex(reference->type), "the parts of a real element");
    *realPart = reference->element;
    *imagPart = reference->element + element_size(reference->type) / 2;
    return OK;
}

static int set_complex(OrvaneReference* reference, int type, void* realPart, void* imagPart) {
    void* parts[2];
    get_parts(reference, &parts[0], &parts[1]);
    if (type != reference->type)
        return TYPE_MISMATCH;
    memcpy(parts[0], realPart, element_size(type) / 2);
    memcpy(parts[1], imagPart, element_size(type) / 2);
    return OK;
}

/* ---- The entry ---- */

/* The function, compared with the type that the header gives the number. */
#define CASE(type, function)                                                                                           \
    case type##Number:                                                                                                 \
        return __extension__(void*)(type){function};

__attribute__((visibility("default"))) void* get_function_ptr(int number) {
    switch (number) {
        CASE(OrvaneFactoryCreateArray, create_complex)
        CASE(OrvaneFactoryCreateScalar, create_scalar)
        CASE(OrvaneFactoryCreateArrayFromColumnMajorBuffer, create_from_buffer)
        CASE(OrvaneFactoryCreateBuffer, create_buffer)
        CASE(OrvaneFactoryCreate, factory_create)
        CASE(OrvaneFactoryDestroy, factory_destroy)
        CASE(OrvaneReferenceDestroy, reference_destroy)
        CASE(OrvaneArrayCreateEmpty, create_empty)
        CASE(OrvaneArrayDestroy, array_destroy)
        CASE(OrvaneArrayGetDimensions, get_dimensions)
        CASE(OrvaneArrayGetNumberOfElements, get_number_of_elements)
        CASE(OrvaneArrayGetType, get_type)
        CASE(OrvaneArrayUnshare, unshare)
        CASE(OrvaneArrayGetReference, get_reference)
        CASE(OrvaneArrayBeginFallback, array_begin)
        CASE(OrvaneArrayEndFallback, array_end)
        CASE(OrvaneTypesAreConvertible, types_are_convertible)
        CASE(OrvaneArrayRelease, array_release)
        CASE(OrvaneIteratorClone, iterator_clone)
        CASE(OrvaneIteratorDestroy, iterator_destroy)
        CASE(OrvaneIteratorGetElement, get_element)
        CASE(OrvaneIteratorGetReference, get_reference_at)
        CASE(OrvaneReferenceGetParts, get_parts)
        CASE(OrvaneReferenceSetComplex, set_complex)
    default:
        return NULL; /* of a later release level, or nobody's */
    }
}
