// Render templates in a file or a stream: refused, or every function can be asked about them.
#include "fileio/template_list.h"
#include "fuzz/fuzz_support.h"
#include "platform/stream.h"

using namespace tarn;

static void Ask(const tagQMTEMPLATExV2* t) {
    char16_t text[512];
    uint32_t value = 0;
    GUID id;
    QmFio_GetTemplateInfoText(t, text, std::size(text));
    QmFio_GetTemplateBitrate(t, 3, &value);
    for (uint32_t which = 0; which < 30; which++)
        for (const uint32_t mask : {1u, 2u}) QmFio_GetTemplateInfo(t, mask, &value, sizeof value, which);
    tagQMTEMPLATExV2 *made = nullptr, *copy = nullptr;
    QmFio_IsUpliftedV1Template(t);
    if (Failed(QmFio_MakeTemplate(&made, FIO_TEMPLATE_V2, t, 3, 0, u"name", u"Audio: \n\nnotes"))) return;
    QmFio_InitGUIDFromTemplateMD5DataHash(&id, made, 1);
    if (TemplateName(*made) != u"name" || TemplateNotes(*made) != u"notes") std::abort();
    if (Failed(QmFio_CopyTemplate(&copy, t)) ||
        QmFio_GetTemplateDataCRC32(copy, 1) != QmFio_GetTemplateDataCRC32(t, 1))
        std::abort();
    CoTaskMemFree(copy);
    CoTaskMemFree(made);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzFile fuzz(data, size);
    tagQMTEMPLATExV2* t = nullptr;
    if (Succeeded(QmFio_LoadTemplateData(&t, fuzz.Path()))) Ask(t);
    CoTaskMemFree(t);

    ComPtr<IStream> old;
    *old.Out() = CreateMemoryStream();
    old->Write(data, static_cast<uint32_t>(size), nullptr);
    for (const BOOL hasSize : {0, 1}) {
        tagQMTEMPLATEV1* v1 = nullptr;
        tagQMTEMPLATExV2* uplifted = nullptr;
        old->Seek(hasSize ? 4 : 0, STREAM_SEEK_SET, nullptr);
        if (Succeeded(QmFio_LoadTemplateDataV1(&v1, old.Get(), static_cast<uint32_t>(size), hasSize)) &&
            Succeeded(QmFio_UpliftTemplateV1(&uplifted, v1))) {
            if (!QmFio_IsUpliftedV1Template(uplifted)) std::abort();
            Ask(uplifted);
        }
        CoTaskMemFree(v1);
        CoTaskMemFree(uplifted);
    }

    tQMLIST record{};
    HQMLIST list = &record;
    QmList_CreateExZ(&list, 0, -1, -1, QMLIST_HEAP | QMLIST_IN_PLACE, 0, 0, 0);
    ComPtr<IStream> stream, again;
    *stream.Out() = CreateMemoryStream();
    stream->Write(data, static_cast<uint32_t>(size), nullptr);
    const HRESULT hr = QmFio_AddTemplatesToListFromIStream(list, stream.Get());
    for (const tagQMTEMPLATExV2* one : QmList_Pointers<tagQMTEMPLATExV2>(list)) Ask(one);
    // What was read whole is written as it was.
    if (hr == S_OK && list->count > 0 && Succeeded(QmFio_MakeTemplateListIStream(list, again.Out()))) {
        std::string bytes(size, '\0');
        uint32_t got = 0;
        again->Read(bytes.data(), static_cast<uint32_t>(size), &got);
        if (got > size || bytes.compare(8, got - 8, reinterpret_cast<const char*>(data) + 8, got - 8) != 0)
            std::abort();
    }
    QmList_Destroy(list);
    return 0;
}
