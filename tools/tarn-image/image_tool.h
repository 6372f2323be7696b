// What the commands share: exit codes, options, images with an owner, names of types.
#pragma once

#include "image/dib.h"
#include "image/dib_filters.h"

#include <memory>
#include <string>

enum ExitCode { EXIT_FINE = 0, EXIT_UNREADABLE = 2, EXIT_USAGE = 3 };

/// What stopped a command: one line, with the file that it is about, unless the reason names it.
class Complaint {
public:
    Complaint(std::string file, std::string reason, int code = EXIT_UNREADABLE)
        : m_file(std::move(file)), m_reason(std::move(reason)), m_code(code) {}
    /// To stderr; returns the exit code.
    int Print() const;

private:
    std::string m_file, m_reason;
    int m_code;
};

/// Throws with the status in words.
void Check(HRESULT status, const std::string& file);

/// Whether its pixels are places in a table of colours.
bool HasTable(QMPIXELTYPE type);
/// "640 x 360 pixels"
std::string SizeText(int32_t width, int32_t height);
/// Throws std::bad_alloc, or a Complaint that names `file`.
tarn::OwnedDib NewImage(QMPIXELTYPE type, int32_t width, int32_t height, const std::string& file);
/// The same picture as another type; one with a palette gets that which suits it best. flags: DIB_COPY_.
tarn::OwnedDib As(const tarn::OwnedDib& dib, QMPIXELTYPE type, const std::string& file, uint32_t flags = 0);
inline QMDIBREF Ref(const tarn::OwnedDib& dib) { return {dib.get(), nullptr, 0}; }

/// The type that arithmetic on a picture is done in: premultiplied bytes, or floats for what has more than 8
/// bits.
QMPIXELTYPE WorkingType(const tarn::OwnedDib& dib);
/// Straight to premultiplied in that type, and back.
tarn::OwnedDib ToWork(const tarn::OwnedDib& dib, QMPIXELTYPE working, const std::string& file);
tarn::OwnedDib FromWork(tarn::OwnedDib worked, QMPIXELTYPE type, const std::string& file);

QMPIXELTYPE TypeByName(const std::string& name);  ///< QMPIXEL_UNKNOWN for none
const char* NameOf(QMPIXELTYPE type);
std::string TypeNames();

/// Reads PNG, JPEG and bitmaps. Throws a Complaint.
tarn::OwnedDib ReadImage(const std::string& file);
/// By the name's extension: .png, .jpg, .jpeg, .bmp, .dib.
void WriteImage(const std::string& file, const tarn::OwnedDib& dib, int32_t quality);
std::string ReadBytes(const std::string& file);
void WriteBytes(const std::string& file, std::string_view bytes);
std::string ExtensionOf(const std::string& file);  ///< in lower case, with its dot

struct Point {
    double x = 0, y = 0;
};
struct Options {
    std::string input, over, output, type, filter = "bilinear", matrix, device = "cpu";
    Point at, size;
    std::string angle;
    int32_t mode = 4, quality = 92;
    uint64_t index = 0;
    bool json = false, hasSize = false, isFullRange = false;
};

int Info(const Options& options);
int Convert(const Options& options);
int Scale(const Options& options);
int Composite(const Options& options);
int Rotate(const Options& options);
int Frame(const Options& options);
