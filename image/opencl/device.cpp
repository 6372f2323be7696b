#include "image/opencl/device.h"

#include "platform/file.h"
#include "platform/module.h"
#include "platform/user_folders.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>

namespace tarn {

namespace {

struct OpenCL {
    Module module;
    decltype(&::clGetPlatformIDs) clGetPlatformIDs;
    decltype(&::clGetDeviceIDs) clGetDeviceIDs;
    decltype(&::clGetDeviceInfo) clGetDeviceInfo;
    decltype(&::clCreateContext) clCreateContext;
    decltype(&::clReleaseContext) clReleaseContext;
    decltype(&::clCreateCommandQueue) clCreateCommandQueue;
    decltype(&::clReleaseCommandQueue) clReleaseCommandQueue;
    decltype(&::clCreateProgramWithSource) clCreateProgramWithSource;
    decltype(&::clCreateProgramWithBinary) clCreateProgramWithBinary;
    decltype(&::clBuildProgram) clBuildProgram;
    decltype(&::clGetProgramInfo) clGetProgramInfo;
    decltype(&::clReleaseProgram) clReleaseProgram;
    decltype(&::clCreateKernel) clCreateKernel;
    decltype(&::clReleaseKernel) clReleaseKernel;
    decltype(&::clSetKernelArg) clSetKernelArg;
    decltype(&::clCreateBuffer) clCreateBuffer;
    decltype(&::clReleaseMemObject) clReleaseMemObject;
    decltype(&::clEnqueueNDRangeKernel) clEnqueueNDRangeKernel;
    decltype(&::clEnqueueWriteBuffer) clEnqueueWriteBuffer;
    decltype(&::clEnqueueWriteBufferRect) clEnqueueWriteBufferRect;
    decltype(&::clEnqueueReadBufferRect) clEnqueueReadBufferRect;
    decltype(&::clFinish) clFinish;

    bool Load() {
        std::string error;
        module = Module::Load("libOpenCL.so.1", error);
        const auto find = [&]<class Function>(Function*& function, const char* name) {
            function = module.Find<Function>(name, error);
            return function != nullptr;
        };
        return module && find(clGetPlatformIDs, "clGetPlatformIDs") &&
               find(clGetDeviceIDs, "clGetDeviceIDs") && find(clGetDeviceInfo, "clGetDeviceInfo") &&
               find(clCreateContext, "clCreateContext") && find(clReleaseContext, "clReleaseContext") &&
               find(clCreateCommandQueue, "clCreateCommandQueue") &&
               find(clReleaseCommandQueue, "clReleaseCommandQueue") &&
               find(clCreateProgramWithSource, "clCreateProgramWithSource") &&
               find(clCreateProgramWithBinary, "clCreateProgramWithBinary") &&
               find(clBuildProgram, "clBuildProgram") && find(clGetProgramInfo, "clGetProgramInfo") &&
               find(clReleaseProgram, "clReleaseProgram") && find(clCreateKernel, "clCreateKernel") &&
               find(clReleaseKernel, "clReleaseKernel") && find(clSetKernelArg, "clSetKernelArg") &&
               find(clCreateBuffer, "clCreateBuffer") && find(clReleaseMemObject, "clReleaseMemObject") &&
               find(clEnqueueNDRangeKernel, "clEnqueueNDRangeKernel") &&
               find(clEnqueueWriteBuffer, "clEnqueueWriteBuffer") &&
               find(clEnqueueWriteBufferRect, "clEnqueueWriteBufferRect") &&
               find(clEnqueueReadBufferRect, "clEnqueueReadBufferRect") && find(clFinish, "clFinish");
    }
};

struct Device {
    /// Never unloaded: drivers leave threads behind that run its code.
    OpenCL* cl = nullptr;
    cl_device_id id = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;
    std::string text;
    cl_program programs[KERNEL_FAMILIES] = {};
    int users[KERNEL_FAMILIES] = {};
};

std::mutex& Lock() {
    static std::mutex lock;
    return lock;
}
Device& TheDevice() {
    static Device device;
    return device;
}

std::string DeviceString(const Device& d, cl_device_info what) {
    char text[512] = {};
    size_t used = 0;
    if (d.cl->clGetDeviceInfo(d.id, what, sizeof text - 1, text, &used) != CL_SUCCESS) return {};
    return text;
}

/// A processor's own cores are the last choice: they run the plain forms faster.
bool FindDevice(Device& d) {
    constexpr cl_uint MOST = 16;
    cl_platform_id platforms[MOST];
    cl_uint count = 0;
    if (d.cl->clGetPlatformIDs(MOST, platforms, &count) != CL_SUCCESS) return false;
    for (const cl_device_type type :
         {cl_device_type{CL_DEVICE_TYPE_GPU}, cl_device_type{CL_DEVICE_TYPE_ACCELERATOR},
          cl_device_type{CL_DEVICE_TYPE_CPU}})
        for (cl_uint i = 0; i < count && i < MOST; i++)
            if (d.cl->clGetDeviceIDs(platforms[i], type, 1, &d.id, nullptr) == CL_SUCCESS) return true;
    return false;
}

void LetGo(Device& d) {
    if (d.queue) d.cl->clReleaseCommandQueue(d.queue);
    if (d.context) d.cl->clReleaseContext(d.context);
    d.queue = nullptr;
    d.context = nullptr;
    d.text.clear();
}

bool MakeDevice(Device& d) {
    if (d.context) return true;
    if (!d.cl) {
        auto cl = std::make_unique<OpenCL>();
        if (!cl->Load()) return false;
        d.cl = cl.release();
    }
    if (!FindDevice(d)) return false;
    cl_int status = CL_SUCCESS;
    d.context = d.cl->clCreateContext(nullptr, 1, &d.id, nullptr, nullptr, &status);
    if (d.context) d.queue = d.cl->clCreateCommandQueue(d.context, d.id, 0, &status);
    d.text = DeviceString(d, CL_DEVICE_NAME) + ", " + DeviceString(d, CL_DEVICE_VERSION) + ", driver " +
             DeviceString(d, CL_DRIVER_VERSION);
    if (d.queue) return true;
    LetGo(d);
    return false;
}

std::string SourceOf(KernelFamily family) {
    std::string source;
    for (const char* part : KernelSource(family).part)
        if (part) source += part;
    return source;
}

uint64_t HashOf(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3;
    return hash;
}

/// Where a program of this device, driver and source is kept; empty when there is no such place.
std::filesystem::path CachePath(const Device& d, const std::string& source) {
    const std::filesystem::path folder = UserCacheFolder();
    if (folder.empty()) return {};
    char name[32];
    std::snprintf(name, sizeof name, "%016llx.bin",
                  static_cast<unsigned long long>(HashOf(d.text + '\n' + source)));
    return folder / "Tarn" / "opencl" / name;
}

bool Build(const Device& d, cl_program program) {
    return d.cl->clBuildProgram(program, 1, &d.id, "-cl-std=CL1.2", nullptr, nullptr) == CL_SUCCESS;
}

/// A kept program begins with the sum of the rest.
constexpr size_t SUM_BYTES = sizeof(uint64_t);

cl_program FromCache(const Device& d, const std::filesystem::path& path) {
    constexpr size_t LIMIT = 64 << 20;
    std::string kept, error;
    if (path.empty() || !ReadWholeFile(path, LIMIT, kept, error) || kept.size() <= SUM_BYTES) return nullptr;
    // Some drivers do not survive a damaged program.
    const std::string_view binary = std::string_view(kept).substr(SUM_BYTES);
    uint64_t sum = 0;
    std::memcpy(&sum, kept.data(), SUM_BYTES);
    if (sum != HashOf(binary)) return nullptr;
    const auto* bytes = reinterpret_cast<const unsigned char*>(binary.data());
    const size_t size = binary.size();
    cl_int loaded = CL_SUCCESS, status = CL_SUCCESS;
    cl_program program =
        d.cl->clCreateProgramWithBinary(d.context, 1, &d.id, &size, &bytes, &loaded, &status);
    if (program && loaded == CL_SUCCESS && Build(d, program)) return program;
    if (program) d.cl->clReleaseProgram(program);
    return nullptr;
}

/// What cannot be kept is compiled again next time.
void Keep(const Device& d, cl_program program, const std::filesystem::path& path) {
    size_t size = 0;
    if (path.empty() ||
        d.cl->clGetProgramInfo(program, CL_PROGRAM_BINARY_SIZES, sizeof size, &size, nullptr) != CL_SUCCESS ||
        size == 0)
        return;
    std::string kept(SUM_BYTES + size, '\0'), error;
    auto* bytes = reinterpret_cast<unsigned char*>(kept.data() + SUM_BYTES);
    if (d.cl->clGetProgramInfo(program, CL_PROGRAM_BINARIES, sizeof bytes, &bytes, nullptr) != CL_SUCCESS)
        return;
    const uint64_t sum = HashOf(std::string_view(kept).substr(SUM_BYTES));
    std::memcpy(kept.data(), &sum, sizeof sum);
    std::error_code failed;
    std::filesystem::create_directories(path.parent_path(), failed);
    if (!failed && !ReplaceFile(path, kept, error)) std::fprintf(stderr, "%s\n", error.c_str());
}

cl_program MakeProgram(const Device& d, KernelFamily family) {
    const std::string source = SourceOf(family);
    const std::filesystem::path path = CachePath(d, source);
    if (cl_program program = FromCache(d, path)) return program;
    const char* text = source.c_str();
    const size_t length = source.size();
    cl_int status = CL_SUCCESS;
    cl_program program = d.cl->clCreateProgramWithSource(d.context, 1, &text, &length, &status);
    if (!program) return nullptr;
    if (!Build(d, program)) {
        d.cl->clReleaseProgram(program);
        return nullptr;
    }
    Keep(d, program, path);
    return program;
}

}  // namespace

HRESULT UseFamily(KernelFamily family) {
    const std::lock_guard lock(Lock());
    Device& d = TheDevice();
    const auto i = static_cast<size_t>(family);
    if (d.users[i] == 0) {
        if (!MakeDevice(d)) return E_FAIL;
        d.programs[i] = MakeProgram(d, family);
        if (!d.programs[i]) return E_FAIL;
    }
    d.users[i]++;
    return S_OK;
}

void ReleaseFamily(KernelFamily family) {
    const std::lock_guard lock(Lock());
    Device& d = TheDevice();
    const auto i = static_cast<size_t>(family);
    if (d.users[i] == 0 || --d.users[i] > 0) return;
    d.cl->clReleaseProgram(std::exchange(d.programs[i], nullptr));
    for (const int users : d.users)
        if (users) return;
    LetGo(d);
}

std::string DeviceText() {
    const std::lock_guard lock(Lock());
    return TheDevice().text;
}

DeviceBuffer::~DeviceBuffer() {
    if (m_memory) TheDevice().cl->clReleaseMemObject(m_memory);
}

bool DeviceBuffer::Create(uint64_t bytes) {
    const Device& d = TheDevice();
    cl_int status = CL_SUCCESS;
    m_memory =
        d.cl->clCreateBuffer(d.context, CL_MEM_READ_WRITE, static_cast<size_t>(bytes), nullptr, &status);
    return m_memory != nullptr;
}

DeviceCall::DeviceCall(KernelFamily family) {
    Lock().lock();
    m_program = TheDevice().programs[static_cast<size_t>(family)];
}

DeviceCall::~DeviceCall() { Lock().unlock(); }

bool DeviceCall::Upload(const void* bytes, uint64_t count, DeviceBuffer& buffer) {
    const Device& d = TheDevice();
    return buffer.Create(count) &&
           d.cl->clEnqueueWriteBuffer(d.queue, buffer.Get(), CL_TRUE, 0, static_cast<size_t>(count), bytes, 0,
                                      nullptr, nullptr) == CL_SUCCESS;
}

bool DeviceCall::Upload(const DibView& view, uint32_t bytesPerPixel, DeviceBuffer& buffer) {
    const uint64_t bytes =
        uint64_t{bytesPerPixel} * static_cast<uint64_t>(view.width) * static_cast<uint64_t>(view.height);
    return buffer.Create(bytes) && CopyRows(view, bytesPerPixel, buffer, true);
}

bool DeviceCall::Download(const DibView& view, uint32_t bytesPerPixel, const DeviceBuffer& buffer) {
    return CopyRows(view, bytesPerPixel, buffer, false);
}

/// In the order of memory, whichever way the picture lies.
bool DeviceCall::CopyRows(const DibView& view, uint32_t bytesPerPixel, const DeviceBuffer& buffer,
                          bool isUp) {
    const Device& d = TheDevice();
    const size_t row = static_cast<size_t>(view.width) * bytesPerPixel, origin[3] = {};
    const size_t region[3] = {row, static_cast<size_t>(view.height), 1};
    uint8_t* first = view.stride < 0 ? view.Row(view.height - 1) : view.top;
    const auto pitch = static_cast<size_t>(std::abs(view.stride));
    const cl_int status =
        isUp ? d.cl->clEnqueueWriteBufferRect(d.queue, buffer.Get(), CL_TRUE, origin, origin, region, row, 0,
                                              pitch, 0, first, 0, nullptr, nullptr)
             : d.cl->clEnqueueReadBufferRect(d.queue, buffer.Get(), CL_TRUE, origin, origin, region, row, 0,
                                             pitch, 0, first, 0, nullptr, nullptr);
    return status == CL_SUCCESS;
}

void DeviceCall::Add(const ImageArgument& image) {
    Add(image.memory);
    Add(image.first);
    Add(image.stride);
}

bool DeviceCall::Enqueue(const char* name, int32_t width, int32_t height) {
    const Device& d = TheDevice();
    cl_int status = CL_SUCCESS;
    cl_kernel kernel = d.cl->clCreateKernel(m_program, name, &status);
    if (!kernel) return false;
    for (cl_uint i = 0; i < m_arguments.size() && status == CL_SUCCESS; i++)
        status = d.cl->clSetKernelArg(kernel, i, m_arguments[i].size, m_arguments[i].value);
    const size_t size[2] = {static_cast<size_t>(width), static_cast<size_t>(height)};
    if (status == CL_SUCCESS)
        status =
            d.cl->clEnqueueNDRangeKernel(d.queue, kernel, 2, nullptr, size, nullptr, 0, nullptr, nullptr);
    if (status == CL_SUCCESS) status = d.cl->clFinish(d.queue);
    d.cl->clReleaseKernel(kernel);
    return status == CL_SUCCESS;
}

}  // namespace tarn
