/* Loaded before the interpreter: calls a Python function while some of the allocations that the thread makes fail, be
 * it for Python's objects (with PYTHONMALLOC=malloc), in C++ or of whole pages. */
#include <errno.h>
#include <stdatomic.h>
#include <stddef.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

/* glibc's, by the names that stay when the usual ones are taken. */
extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* block, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);
extern void __libc_free(void* block);

extern void* PyObject_CallNoArgs(void* function) __attribute__((weak));

static __thread long counted, first, end;

/* Those from `from` on fail, before `to`, from 0 on. Leaves in `number` how many were asked for. */
void* call_short_of_memory(void* function, long from, long to, long* number) {
    counted = 0;
    first = from;
    end = to;
    void* result = PyObject_CallNoArgs(function);
    end = 0;
    *number = counted;
    return result;
}

static atomic_long handed_out;

/* How many blocks and mappings have not been given back. */
long blocks_handed_out(void) {
    return handed_out;
}

static void* noted(void* block) {
    handed_out += block != NULL;
    return block;
}

static int fails(void) {
    if (end == 0)
        return 0;
    const long number = counted++;
    if (number < first || number >= end)
        return 0;
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t size) {
    return fails() ? NULL : noted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
    return fails() ? NULL : noted(__libc_calloc(count, size));
}

void free(void* block) {
    handed_out -= block != NULL;
    __libc_free(block);
}

void* realloc(void* block, size_t size) {
    if (fails())
        return NULL;
    void* moved = __libc_realloc(block, size);
    handed_out += (moved != NULL && block == NULL) - (moved == NULL && block != NULL && size == 0);
    return moved;
}

void* aligned_alloc(size_t alignment, size_t size) {
    return fails() ? NULL : noted(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, size_t alignment, size_t size) {
    *block = aligned_alloc(alignment, size);
    return *block ? 0 : ENOMEM;
}

void* mmap(void* address, size_t size, int protection, int flags, int file, off_t offset) {
    if (flags & MAP_ANONYMOUS && fails())
        return MAP_FAILED;
    void* mapping = (void*)syscall(SYS_mmap, address, size, protection, flags, file, offset);
    return mapping == MAP_FAILED ? mapping : noted(mapping);
}

int munmap(void* mapping, size_t size) {
    --handed_out;
    return (int)syscall(SYS_munmap, mapping, size);
}
