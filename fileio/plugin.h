// Everything that a plug-in for media files and the manager of such plug-ins agree on. A plug-in needs this
// header and no other.
//
// A plug-in is a shared library with the two functions below. It has a reader, a renderer or both, each a
// class object that is made once and opens or makes any number of files. It lies in a folder that the manager
// looks through (fileio/manager.h); what it answered to QmFioPlug_GetInfo is kept until the library changes,
// so that the library is loaded only when one of its files is wanted.
//
// Results are HRESULTs: negative is a failure, S_FALSE means "nothing there". Codes with texts for users are
// in mediafile/media_codes.h. Objects are counted as usual; what is returned has a reference for the
// caller. No exception leaves a function or an operation. Class objects are used from any thread at once; a
// file and all that it gives by one thread at a time. Where a plug-in does not say FIO_PLUGIN_IN_PROCESS it
// runs in a process of its own, which may be without the right to open files: it has to be content with the
// descriptors that it is given.
//
// Samples are interleaved and of the type that the format tells, frames are counted from 0, texts are UTF-16
// and terminated. Metadata passes as the chunks that a RIFF wave file would have for it, one behind the other
// (id, size, payload, a zero behind an odd payload): "LIST" of "INFO", "cue ", "bext", "iXML" and so on.
#pragma once

#include "fileio/template_record.h"
#include "mediafile/meta/read_meta.h"
#include "platform/com.h"

inline constexpr GUID IID_IQmReadFileClass = tarn::Guid("{5E1C2D40-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmRenderFileClass = tarn::Guid("{5E1C2D41-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadFile = tarn::Guid("{5E1C2D42-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmRenderFile = tarn::Guid("{5E1C2D43-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadStream = tarn::Guid("{5E1C2D44-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadAudioStream = tarn::Guid("{5E1C2D45-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadVideoStream = tarn::Guid("{5E1C2D46-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadTextStream = tarn::Guid("{5E1C2D47-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadStoredAudio = tarn::Guid("{5E1C2D49-8B1F-4B7E-8E55-3F6A91D0C701}");
inline constexpr GUID IID_IQmReadProjectLinkMeta = tarn::Guid("{5E1C2D48-8B1F-4B7E-8E55-3F6A91D0C701}");

/// Of FIOPLUGININFO. One that tells another number is not used.
inline constexpr uint32_t FIO_PLUGIN_API = 2;

enum FIO_PLUGIN_FLAGS : uint32_t {
    FIO_PLUGIN_IN_PROCESS = 0x10,  ///< may run in the program's own process
    /// Its reader makes one medium of several files, and says by a probe name whether it takes part.
    FIO_PLUGIN_COMPOUND = 0x20,
    FIO_PLUGIN_OUT_OF_PROCESS = 0x100,  ///< where it runs; set by the manager
};

/// What a compound reader is asked with first, without a file: S_OK and it is asked for the real file, too.
inline constexpr char16_t FIO_COMPOUND_PROBE[] = u"for_compoundplug_only.mp4";

struct FIOPLUGININFO {
    uint32_t size;  ///< of the record, set by the caller
    uint32_t api;   ///< FIO_PLUGIN_API
    uint32_t flags;
    GUID reader;                   ///< class id; zeros for none
    GUID renderer;                 ///< likewise
    char16_t name[64];             ///< for people, in the language asked for
    char16_t readExtensions[512];  ///< "wav;w64;aif", in the order of likelihood
    char16_t renderExtensions[256];
    char16_t preloadModules[256];  ///< libraries beside the plug-in that are loaded before it, "a.so;b.so"
};
static_assert(sizeof(FIOPLUGININFO) == 44 + 2 * (64 + 512 + 256 + 256));

enum FIO_STREAM_TYPE : uint32_t { FIO_STREAM_AUDIO = 1, FIO_STREAM_VIDEO = 2, FIO_STREAM_TEXT = 4 };

/// Rows from top to bottom of blue, green, red and alpha, 8 bits each.
struct FIOVIDEOFORMAT {
    uint32_t width, height;
    uint32_t rate, scale;  ///< rate / scale frames a second
    uint64_t frames;       ///< 0 where that is not known
    char16_t codec[32];
};
static_assert(sizeof(FIOVIDEOFORMAT) == 88);

struct IQmReadStream : IUnknown {
    virtual HRESULT GetType(uint32_t* type) = 0;  ///< FIO_STREAM_TYPE
    /// Title or language, for people. S_FALSE and an empty text where there is none.
    virtual HRESULT GetName(char16_t* text, uint32_t capacity) = 0;
};

struct IQmReadAudioStream : IQmReadStream {
    /// Of the samples that Read gives. The record with the codec's bytes takes `capacity` at most.
    virtual HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) = 0;
    virtual HRESULT GetFrames(uint64_t* frames) = 0;
    /// Bytes of `frames` from `frame` on. `*got` frames are fewer at the end; a failure may leave it at those
    /// that could be read.
    virtual HRESULT Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) = 0;
};

/// Of a stream of sound, where it has it: for samples that lie in the file as Read gives them, one frame
/// behind the other. Who has the file open may read them there, so that they do not pass between processes.
struct IQmReadStoredAudio : IUnknown {
    /// Of frame 0, and how many follow it. S_FALSE where Read has to be asked.
    virtual HRESULT GetPlace(uint64_t* offset, uint64_t* frames) = 0;
};

struct IQmReadVideoStream : IQmReadStream {
    virtual HRESULT GetFormat(FIOVIDEOFORMAT* format) = 0;
    /// The picture that is on view at `frame`, 4 * width * height bytes. S_FALSE behind the last.
    virtual HRESULT ReadFrame(uint64_t frame, void* pixels, uint32_t bytes) = 0;
};

struct IQmReadTextStream : IQmReadStream {
    /// The next text with the time that it is on view, in units of 100 ns. S_FALSE when there is no more.
    virtual HRESULT ReadNext(int64_t* start, int64_t* end, char16_t* text, uint32_t capacity) = 0;
};

/// The chunks that lead back to the project that a file was rendered from.
struct IQmReadProjectLinkMeta : IQmReadMeta {};

/// Of a file; what is told beyond them is not looked at.
inline constexpr uint32_t FIO_MOST_STREAMS = 1024;

struct IQmReadFile : IUnknown {
    /// "FLAC", "Wave": the kind of file, for people.
    virtual HRESULT GetFormatName(char16_t* text, uint32_t capacity) = 0;
    virtual HRESULT GetStreamCount(uint32_t* count) = 0;
    /// A stream under any of its interfaces; E_NOINTERFACE for one of another type.
    virtual HRESULT GetStream(uint32_t index, const GUID& iid, void** out) = 0;
    /// IQmReadMeta or IQmReadProjectLinkMeta. S_FALSE and null where there is nothing.
    virtual HRESULT GetMeta(const GUID& iid, void** out) = 0;
};

struct IQmReadFileClass : IUnknown {
    /// Once, before all else. A failure leaves the class unused.
    virtual HRESULT Start(uint32_t langId) = 0;
    /// By the file's first bytes, 4096 or as many as it has: S_OK where they are of a kind that is read here,
    /// S_FALSE where they are not or do not tell.
    virtual HRESULT Recognize(const void* head, uint32_t bytes) = 0;
    /// The file, open for reading at its start. The descriptor is the caller's; who reads later duplicates
    /// it. The path may be used for its ending alone. MEDIA_E_UNSUPPORTED_FORMAT for what is not read here.
    virtual HRESULT OpenFile(int32_t descriptor, const char16_t* path, IQmReadFile** out) = 0;
};

struct IQmRenderFile : IUnknown {
    /// In the format that the file was made with.
    virtual HRESULT Write(const void* samples, uint32_t frames) = 0;
    /// Chunks as above, once, before the samples. S_FALSE where a part of them has no place in such
    /// files.
    virtual HRESULT SetMeta(IQmReadMeta* meta) = 0;
    /// Completes the file. Without it what is there is worth nothing.
    virtual HRESULT End() = 0;
};

/// What of a template a person may choose, and the measure of its values. 0 of a rate and of channels is the
/// source's, and of a bit rate that it varies.
enum FIO_FIELD : uint32_t {
    FIO_FIELD_TYPE = 1,  ///< QMSAMPLETYPE
    FIO_FIELD_RATE,
    FIO_FIELD_CHANNELS,
    FIO_FIELD_BIT_RATE,  ///< bits a second
    FIO_FIELD_QUALITY,   ///< 0 to 10, the best
    FIO_FIELD_LEVEL,     ///< the higher the smaller, without loss
};
inline constexpr size_t FIO_MOST_CHOICES = 30;
struct FIOTEMPLATEFIELD {
    uint32_t field;
    uint32_t value;  ///< one of the choices
    uint32_t count;
    uint32_t choices[FIO_MOST_CHOICES];
};
static_assert(sizeof(FIOTEMPLATEFIELD) == 132);

struct IQmRenderFileClass : IUnknown {
    virtual HRESULT Start(uint32_t langId) = 0;
    /// The templates that come with the renderer. The block is CoTaskMem; S_FALSE behind the last.
    virtual HRESULT GetPreset(uint32_t index, tagQMTEMPLATExV2** out) = 0;
    /// What makes files of that ending out of such samples, as near to them as it can be.
    virtual HRESULT GetDefault(const char16_t* extension, const _qmwaveformat* source,
                               tagQMTEMPLATExV2** out) = 0;
    /// Whether the renderer can work so: S_OK, or MEDIA_E_BAD_TEMPLATE. The block itself is sound.
    virtual HRESULT CheckTemplate(const tagQMTEMPLATExV2* settings) = 0;
    /// Endings of the files that come of it, "wav;w64", the usual one first.
    virtual HRESULT GetExtensions(const tagQMTEMPLATExV2* settings, char16_t* text, uint32_t capacity) = 0;
    /// An empty file, open for reading and writing; the descriptor is the caller's. The path tells the
    /// ending. `format` is that of the samples to come: the template's, with no zeros.
    virtual HRESULT CreateFile(int32_t descriptor, const char16_t* path, const tagQMTEMPLATExV2* settings,
                               const _qmwaveformat* format, IQmRenderFile** out) = 0;
    /// What can be chosen in the template, in the order in which people read it. *count tells how many there
    /// are; MEDIA_E_NO_ROOM where that is more than `capacity`.
    virtual HRESULT GetFields(const tagQMTEMPLATExV2* settings, uint32_t capacity, FIOTEMPLATEFIELD* fields,
                              uint32_t* count) = 0;
    /// A template with that choice, and what follows from it, in the place of *settings. E_INVALIDARG for
    /// what is no choice.
    virtual HRESULT SetField(tagQMTEMPLATExV2** settings, uint32_t field, uint32_t value) = 0;
};

extern "C" {
/// What the library is; must be quick and open nothing. The record is zeros but for its size.
typedef HRESULT QmFioPlug_GetInfoProc(uint32_t langId, FIOPLUGININFO* info);
/// The reader (IQmReadFileClass) or renderer (IQmRenderFileClass) of that class id.
typedef HRESULT QmFioPlug_CreateClassProc(const GUID* classId, const GUID* iid, void** out);
}

/// The names that a plug-in exports.
#define QMFIOPLUG_EXPORT extern "C" __attribute__((visibility("default")))
inline constexpr char FIO_ENTRY_GET_INFO[] = "QmFioPlug_GetInfo";
inline constexpr char FIO_ENTRY_CREATE_CLASS[] = "QmFioPlug_CreateClass";
