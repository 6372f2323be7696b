// The manager of plug-ins for media files: which there are, which of them reads a file, and the objects that
// do it. Plug-ins lie in the folder "fileio" beside the kernel library, or "tarn/fileio" where that is
// installed, and in Tarn/fileio of the user's data folder.
//
// Results are HRESULTs: MEDIA_E_UNSUPPORTED_FORMAT for a look-up that finds nothing and a file that nobody
// reads, MEDIA_E_NO_ROOM for a text that does not fit, E_NOTIMPL for what has no use here. A plug-in that
// fails never stops more than itself. Objects that come from plug-ins have to be released before CleanUp and
// before the manager goes. Slots that have no name are kept free. [any-thread]
#pragma once

#include "fileio/plugin.h"
#include "kernel/list.h"

inline constexpr GUID IID_IQmFileIOManager = tarn::Guid("{A6F0E2D0-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFileIOMgrForApp = tarn::Guid("{A6F0E2D1-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFileIOTypeEnum = tarn::Guid("{A6F0E2D2-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFIOPluginEnum = tarn::Guid("{A6F0E2D3-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFioFilterBuilder = tarn::Guid("{A6F0E2D4-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFioFilterBuilder2 = tarn::Guid("{A6F0E2D5-57C3-4E0B-9C3B-1B3B8F6A4E11}");
inline constexpr GUID IID_IQmFioLogger = tarn::Guid("{A6F0E2D6-57C3-4E0B-9C3B-1B3B8F6A4E11}");

/// What the manager does and why, a line a step, in English. Called on any thread, on several at once.
struct IQmFioLogger : IUnknown {
    virtual void Log(const char16_t* line) = 0;
};

enum FIO_INIT_FLAGS : uint32_t {
    FIO_INIT_NO_CACHE = 1,       ///< ask all plug-ins afresh
    FIO_INIT_NO_SURROGATES = 2,  ///< all in this process
};

/// A reader or a renderer.
struct FIOTYPEINFO {
    GUID id;
    char16_t name[64];
    char16_t extensions[512];  ///< "wav;w64;aif"
};

struct FIOPLUGINSTATE {
    FIOPLUGININFO info;  ///< zeros but for the flags where `failure` is not empty from the start
    char16_t library[1024];
    char16_t failure[256];  ///< one line for people; empty when all is well
    int32_t group;          ///< of plug-ins that share a process; -1 in this one
    BOOL isFromCache, isLoaded;
};

/// Each Next gives what there is, up to `count`; S_FALSE when that is less.
struct IQmFileIOTypeEnum : IUnknown {
    virtual HRESULT Next(uint32_t count, FIOTYPEINFO* items, uint32_t* got) = 0;
    virtual HRESULT Skip(uint32_t count) = 0;
    virtual HRESULT Reset() = 0;
};
struct IQmFIOPluginEnum : IUnknown {
    virtual HRESULT Next(uint32_t count, FIOPLUGINSTATE* items, uint32_t* got) = 0;
    virtual HRESULT Skip(uint32_t count) = 0;
    virtual HRESULT Reset() = 0;
};

/// The text that a dialog for files takes: rows of "Name (*.a *.b)" with two semicolons between them, a first
/// row with all endings where there are several, and "*" last where that is asked for.
struct IQmFioFilterBuilder : IUnknown {
    virtual HRESULT AddReaders() = 0;
    virtual HRESULT AddRenderers() = 0;
    virtual HRESULT GetFilter(char16_t* text, uint32_t capacity) = 0;
};
struct IQmFioFilterBuilder2 : IQmFioFilterBuilder {
    virtual HRESULT AddType(const char16_t* name, const char16_t* extensions) = 0;
    virtual HRESULT SetAllTypesName(const char16_t* name) = 0;  ///< of the first row; else "All Media"
    virtual HRESULT AddAnyFile(const char16_t* name) = 0;
};

/// Bits; GetGPUAcceleration gives the one that is in use.
enum FIO_DECODERS : uint32_t {
    FIO_DECODER_NONE = 0,
    FIO_DECODER_AUTO = 1,
    FIO_DECODER_INTEL = 2,
    FIO_DECODER_AMD = 4,
    FIO_DECODER_NVIDIA = 8,
};

/// S_OK with a changed block in the place of *settings, S_FALSE where the person leaves it as it is.
typedef HRESULT (*FIOEDITTEMPLATEPROC)(uintptr_t context, IQmRenderFileClass* renderer,
                                       tagQMTEMPLATExV2** settings);

struct IQmFileIOManager : IUnknown {
    virtual uint32_t GetLangID() = 0;
    virtual HRESULT Reserved1() = 0;
    /// Settings of plug-ins and of the manager, kept for the application.
    virtual HRESULT GetMetric(int32_t id, uint32_t* value) = 0;
    virtual HRESULT SetMetric(int32_t id, uint32_t value) = 0;
    virtual HRESULT GetMetricString(int32_t id, char16_t* text, uint32_t capacity) = 0;
    virtual HRESULT SetMetricString(int32_t id, const char16_t* text) = 0;
    virtual HRESULT DeleteMetric(int32_t id) = 0;
    virtual HRESULT GetMetricBinary(int32_t id, void* data, uint32_t capacity, uint32_t* size) = 0;
    virtual HRESULT SetMetricBinary(int32_t id, const void* data, uint32_t size) = 0;
    /// What there is to know of one file at a time, as texts by the names "Format", "SamplingRate",
    /// "Channels", "BitDepth", "SamplingCount", "Duration" (milliseconds), "Width", "Height", "FrameRate",
    /// "FrameCount". Streams of a kind are counted from 0.
    virtual HRESULT MediaInfo_Initialize() = 0;
    virtual HRESULT MediaInfo_Open(const char16_t* path) = 0;
    virtual HRESULT MediaInfo_GetVideoProperty(uint32_t stream, const char16_t* name, char16_t* text,
                                               uint32_t capacity) = 0;
    virtual HRESULT MediaInfo_GetAudioProperty(uint32_t stream, const char16_t* name, char16_t* text,
                                               uint32_t capacity) = 0;
    virtual HRESULT MediaInfo_Close() = 0;
    virtual HRESULT MediaInfo_Uninitialize() = 0;
    virtual HRESULT Reserved2() = 0;
    virtual HRESULT FindReaderClassFromId(const GUID& id, IQmReadFileClass** out) = 0;
    /// That of the reader which identification finds for a file.
    virtual HRESULT FindReaderClass(const char16_t* path, IQmReadFileClass** out) = 0;
    virtual HRESULT FindRendererClass(const GUID& id, IQmRenderFileClass** out) = 0;
    virtual HRESULT SetLogger(IQmFioLogger* logger) = 0;
    virtual HRESULT GetLogger(IQmFioLogger** out) = 0;
    virtual HRESULT GetGPUAcceleration(uint32_t* decoder) = 0;
    /// Bits of FIO_DECODERS.
    virtual HRESULT GetSupportedHardwareDecoders(uint32_t* decoders) = 0;
    virtual HRESULT Reserved3() = 0;
    /// In the order of preference.
    virtual HRESULT GetSupportedHardwareDecoders(uint32_t capacity, uint32_t* decoders, uint32_t* count) = 0;
    virtual HRESULT Reserved4() = 0;
    /// "wav" or ".WAV". *position is 0 for the first, and set for the next.
    virtual HRESULT FindNextReaderClassByExt(const char16_t* extension, uint32_t* position, GUID* id) = 0;
    virtual HRESULT FindNextRenderClassByExt(const char16_t* extension, uint32_t* position, GUID* id) = 0;
    /// By identification.
    virtual HRESULT OpenReader(const char16_t* path, IQmReadFile** out) = 0;
    /// With one reader, or by identification where that is zeros; then *reader tells which it was.
    virtual HRESULT OpenReaderEx(const char16_t* path, GUID* reader, IQmReadFile** out) = 0;
    /// Has the program's editor change a template of the renderer, or its default where *settings is null.
    /// S_OK with another block in its place, S_FALSE where the person wants none of it, and
    /// MEDIA_E_BAD_TEMPLATE, which leaves *settings alone, where the renderer cannot work so. E_NOTIMPL
    /// without an editor.
    virtual HRESULT EditTemplate(const GUID& renderer, tagQMTEMPLATExV2** settings) = 0;
};

struct IQmFileIOMgrForApp : IQmFileIOManager {
    /// Looks through the usual folders. QM_E_ALREADY before a CleanUp.
    virtual HRESULT Init(uint32_t flags) = 0;
    /// Lets all plug-ins go. What is called afterwards finds none.
    virtual HRESULT CleanUp() = 0;
    virtual HRESULT GetReaderEnum(IQmFileIOTypeEnum** out) = 0;
    virtual HRESULT GetRendererEnum(IQmFileIOTypeEnum** out) = 0;
    virtual HRESULT Reserved5() = 0;
    virtual HRESULT Reserved6() = 0;
    /// *status is what the call returns.
    virtual HRESULT IdentifyFileType(const char16_t* path, GUID* reader, HRESULT* status) = 0;
    virtual HRESULT IdentifyFileTypeSlow(const char16_t* path, GUID* reader, HRESULT* status) = 0;
    virtual HRESULT GetReaderClass(const GUID& id, IQmReadFileClass** out) = 0;
    virtual HRESULT GetRendererClass(const GUID& id, IQmRenderFileClass** out) = 0;
    /// By the name that people see.
    virtual HRESULT FindRenderClassByName(const char16_t* name, IQmRenderFileClass** out) = 0;
    virtual HRESULT Reserved7() = 0;
    /// That which holds the file open now, through this manager and under any name.
    virtual HRESULT FindLockedReader(const char16_t* path, GUID* reader) = 0;
    /// S_OK where opening may take so long that a person wants to see that it goes on: in another process, of
    /// a long file, or where the ending tells nothing. S_FALSE where it is quick.
    virtual HRESULT IsOpenProgressNeeded(const char16_t* path) = 0;
    virtual HRESULT GetPluginCount(uint32_t* count) = 0;
    /// S_OK or S_FALSE, by the place in the list.
    virtual HRESULT IsPluginLoaded(uint32_t index) = 0;
    virtual HRESULT GetPluginEnum(IQmFIOPluginEnum** out) = 0;
    virtual HRESULT GetPluginInfo(uint32_t index, FIOPLUGINSTATE* state) = 0;
    virtual HRESULT GetFilterBuilder(IQmFioFilterBuilder** out) = 0;
    virtual HRESULT GetFilterBuilder2(IQmFioFilterBuilder2** out) = 0;
    /// S_OK where it starts, or has; S_FALSE where there is none or it fails.
    virtual HRESULT IsRendererActive(const GUID& id) = 0;
    /// One of FIO_DECODERS that is supported, none or FIO_DECODER_AUTO; kept for the application.
    virtual HRESULT SetGPUAcceleration(uint32_t decoder) = 0;
    /// The window of a program for templates, called by EditTemplate on its thread. Null takes it back.
    virtual HRESULT SetTemplateEditor(FIOEDITTEMPLATEPROC proc, uintptr_t context) = 0;
    /// Looks through these folders, with semicolons between them, and no others.
    virtual HRESULT Init(uint32_t flags, const char16_t* folders) = 0;
    /// Adds the libraries of a pointer list of texts.
    virtual HRESULT GrovelSpecifiedPlugins(HQMLIST paths) = 0;
    /// Passes over the folders again: over those that configuration files name, over all others.
    virtual HRESULT GrovelPlugins1() = 0;
    virtual HRESULT GrovelPlugins2() = 0;
    virtual HRESULT Reserved9() = 0;
    /// Where settings are kept from now on; as QmMetric_Open has it.
    virtual HRESULT SetMetrics(const char16_t* application, uint32_t version) = 0;
    /// Before Init: these libraries in the place of all folders. Null takes it back.
    virtual HRESULT SetPluginList(HQMLIST paths) = 0;
    virtual HRESULT UpdatePluginCache() = 0;
    /// Whether that reader reads the file.
    virtual HRESULT IdentifyFileTypeFromId(const char16_t* path, const GUID& reader, HRESULT* status) = 0;
    /// Kept for the application; zeros and S_FALSE where there is none.
    virtual HRESULT GetLastUsedReader(GUID* id) = 0;
    virtual HRESULT SetLastUsedReader(const GUID& id) = 0;
    virtual HRESULT GetLastUsedRenderer(GUID* id) = 0;
    virtual HRESULT SetLastUsedRenderer(const GUID& id) = 0;
};

extern "C" {
/// A manager with settings of its own for the application, as QmMetric_Open has it. The logger may be null.
QM_API HRESULT QMFileIO_CreateInstance(const char16_t* application, uint32_t version, IQmFioLogger* logger,
                                       IQmFileIOMgrForApp** out);
/// The class object of that id, loaded and started.
QM_API HRESULT QmFio_LoadPluginAndGetInterface(IQmFileIOMgrForApp* manager, const GUID* classId,
                                               const GUID* iid, void** out);
/// Calls for each library of a pointer list of texts that is among the plug-ins, in the list's order, until
/// the callback fails; S_FALSE where some are none.
typedef HRESULT (*FIOPLUGINPROC)(uintptr_t context, const FIOPLUGINSTATE* state);
QM_API HRESULT QmFio_ProcessPluginList(IQmFileIOMgrForApp* manager, HQMLIST paths, FIOPLUGINPROC proc,
                                       uintptr_t context);
}
