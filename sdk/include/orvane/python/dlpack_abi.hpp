// The structures of DLPack, version 1 and before, as its standard lays them out. Members bear its names; the types lie
// in a namespace of their own, so that a program may include DLPack's header beside this one and cast pointers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvane::dlpack {

/// The layout of this file. A later minor version means the same; of another major version nothing may be touched but
/// the deleter.
struct Version {
    std::uint32_t major;
    std::uint32_t minor;
};
inline constexpr Version knownVersion{1, 0};

/// The devices have numbers; the one that matters here is the memory of the CPU.
enum class DeviceType : std::int32_t { Cpu = 1 };

struct Device {
    DeviceType device_type;
    std::int32_t device_id;
};

/// The codes of the element types that arrays can have.
enum class TypeCode : std::uint8_t { Int = 0, UInt = 1, Float = 2, Complex = 5, Bool = 6 };

struct DataType {
    TypeCode code;
    std::uint8_t bits; ///< of one element; both parts of a complex one
    std::uint16_t lanes;

    friend constexpr bool operator==(const DataType&, const DataType&) = default;
};

struct Tensor {
    void* data;
    Device device;
    std::int32_t ndim;
    DataType dtype;
    std::int64_t* shape;       ///< `ndim` of them
    std::int64_t* strides;     ///< in elements; null for row-major order without gaps
    std::uint64_t byte_offset; ///< from `data` to the first element
};

/// The form before version 1, which cannot say that the elements must not be written to.
struct ManagedTensor {
    Tensor dl_tensor;
    void* manager_ctx;
    void (*deleter)(ManagedTensor*); ///< may be null
};

/// Flags of `ManagedTensorVersioned`.
inline constexpr std::uint64_t readOnlyFlag = 1;
/// The elements were copied for the consumer, who alone has them.
inline constexpr std::uint64_t isCopiedFlag = 2;

struct ManagedTensorVersioned {
    Version version;
    void* manager_ctx;
    void (*deleter)(ManagedTensorVersioned*); ///< may be null
    std::uint64_t flags;
    Tensor dl_tensor;
};

static_assert(sizeof(DataType) == 4 && sizeof(Device) == 8 && sizeof(Tensor) == 48);
static_assert(offsetof(Tensor, ndim) == 16 && offsetof(Tensor, dtype) == 20 && offsetof(Tensor, shape) == 24 &&
              offsetof(Tensor, strides) == 32 && offsetof(Tensor, byte_offset) == 40);
static_assert(offsetof(ManagedTensor, manager_ctx) == 48 && offsetof(ManagedTensor, deleter) == 56);
static_assert(offsetof(ManagedTensorVersioned, manager_ctx) == 8 && offsetof(ManagedTensorVersioned, deleter) == 16 &&
              offsetof(ManagedTensorVersioned, flags) == 24 && offsetof(ManagedTensorVersioned, dl_tensor) == 32);

} // namespace orvane::dlpack
