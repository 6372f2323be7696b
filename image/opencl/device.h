// The OpenCL device of the process: its loader, the programs of the families that are in use, calls of
// kernels.
#pragma once

#include "image/opencl/kernels.h"
#include "image/rows/dib_view.h"

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

#include <string>
#include <utility>
#include <vector>

namespace tarn {

/// Counts users of a family; the first makes the device and its programs. E_FAIL without one. [any-thread]
HRESULT UseFamily(KernelFamily family);
void ReleaseFamily(KernelFamily family);
/// Name and driver; empty without a device. [any-thread]
std::string DeviceText();

/// Memory of the device, given back with the object.
class DeviceBuffer {
public:
    DeviceBuffer() = default;
    ~DeviceBuffer();
    DeviceBuffer(const DeviceBuffer&) = delete;
    DeviceBuffer& operator=(const DeviceBuffer&) = delete;

    bool Create(uint64_t bytes);
    const cl_mem& Get() const { return m_memory; }

private:
    cl_mem m_memory = nullptr;
};

/// One use of the device: its lock is held while the object lives. False when the family is not in use.
class DeviceCall {
public:
    explicit DeviceCall(KernelFamily family);
    ~DeviceCall();
    DeviceCall(const DeviceCall&) = delete;
    DeviceCall& operator=(const DeviceCall&) = delete;
    explicit operator bool() const { return m_program != nullptr; }

    /// The device's memory for an image, with its pixels in it. The rows lie there without gaps.
    bool Upload(const DibView& view, uint32_t bytesPerPixel, DeviceBuffer& buffer);
    bool Upload(const void* bytes, uint64_t count, DeviceBuffer& buffer);
    bool Download(const DibView& view, uint32_t bytesPerPixel, const DeviceBuffer& buffer);

    /// Runs a kernel over so many pixels. Arguments are passed as they are, but images as ImageArgument.
    /// False when the device refuses.
    template <class... Arguments>
    bool Run(const char* kernel, int32_t width, int32_t height, const Arguments&... arguments) {
        m_arguments.clear();
        (Add(arguments), ...);
        return Enqueue(kernel, width, height);
    }

private:
    struct Argument {
        const void* value;
        size_t size;
    };

    template <class T>
    void Add(const T& value) {
        // Of a handle, too, it is the handle itself that is passed.
        m_arguments.push_back({&value, sizeof(T)});  // NOLINT(bugprone-sizeof-expression)
    }
    void Add(const struct ImageArgument& image);
    bool Enqueue(const char* kernel, int32_t width, int32_t height);
    bool CopyRows(const DibView& view, uint32_t bytesPerPixel, const DeviceBuffer& buffer, bool isUp);

    cl_program m_program = nullptr;
    std::vector<Argument> m_arguments;
};

/// An image in the device's memory, as kernels take it: memory, first byte of the top row, bytes to the row
/// below.
struct ImageArgument {
    ImageArgument(const DeviceBuffer& buffer, const DibView& view, uint32_t bytesPerPixel)
        : memory(buffer.Get()),
          first(view.stride < 0 ? int64_t{view.height - 1} * view.width * bytesPerPixel : 0),
          stride((view.stride < 0 ? -1 : 1) * int64_t{view.width} * bytesPerPixel) {}
    cl_mem memory;
    cl_long first, stride;
};

}  // namespace tarn
