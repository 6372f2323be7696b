// An edit of any file: refused, or what was set is read again and the samples are what they were.
#include "fuzz/fuzz_support.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/meta/meta_values.h"

#include <vector>

using namespace tarn;

static std::vector<uint8_t> Samples(HQMFILE file, const MediaContents& c) {
    std::vector<uint8_t> bytes(c.dataBytes);
    const FileSource source(file);
    if (!source.Read(c.dataOffset, bytes.data(), static_cast<uint32_t>(bytes.size()))) std::abort();
    return bytes;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    for (const char* key :
         {"info.INAM", "text.NAME", "bext.Description", "ixml.SCENE", "cue.1.label", "cue.1.length",
          "smpl.loop.1.start", "plst.entry.1.cue", "axml", "id3.TIT2", "id3.COMM", "comment.1"}) {
        const MediaContents before = InspectMedia(fuzz.File());
        MetaDocument wanted = ReadMetaDocument(fuzz.File());
        ListMetaValues(wanted);
        MetaDeviations(wanted, before.frames);
        CarryMetadata(wanted, MediaContainer::Aiff);
        MetaDocument carried = CarryMetadata(wanted, MediaContainer::Wave).document;
        RetimeMetadata(carried, {44100, 48000, size, size * 3, true});
        const char text[] = {static_cast<char>('1' + size % 9), 0};
        if (!SetMetaValue(wanted, key, text).empty()) continue;
        const FileSource source(fuzz.File());
        const MetaEditPlan plan = PlanMetaEdit(source, before, wanted);
        if (plan.IsRefused()) continue;
        const std::vector<uint8_t> samples = Samples(fuzz.File(), before);
        if (Failed(ApplyMetaEdit(fuzz.File(), plan))) std::abort();
        const MediaContents after = InspectMedia(fuzz.File());
        if (after.HasErrors() || Samples(fuzz.File(), after) != samples) std::abort();
        bool isThere = false;
        for (const MetaValue& value : ListMetaValues(ReadMetaDocument(fuzz.File())))
            isThere = isThere || (value.key == key && value.text == text);
        if (!isThere) std::abort();
    }
    return 0;
}
