// A program of somebody who has the installed library alone.
#include <kernel/print/print_text.h>
#include <mediafile/wave_file.h>
#include <platform/text.h>

#include <cstdio>

int main(int, char** argv) {
    const std::u16string path = Utf16FromUtf8(argv[1]);
    WAVEFORMATEX format;
    QmAudio_InitWfx(&format, 48000, QMSAMPLE_PCM24, 2);
    if (Failed(QmInitializeWav(path.c_str(), &format, FILE_CREATE_ALWAYS))) return 1;
    std::printf("%s, a wave: %d\n", Utf8FromUtf16(PrintText(u"%.1z dB", -125)).c_str(),
                QmFileIsWave(path.c_str(), 0));
}
