// A program of somebody who has the installed library alone, and names of his own that the library has too.
class Module {};
struct IniFile {};
int MemAlloc, ReplaceFile;
bool Failed(int);

#include "every_header.h"

#include <cstdio>

int main(int, char** argv) {
    const std::u16string path = tarn::Utf16FromUtf8(argv[1]);
    WAVEFORMATEX format;
    QmAudio_InitWfx(&format, 48000, QMSAMPLE_PCM24, 2);
    if (tarn::Failed(QmInitializeWav(path.c_str(), &format, FILE_CREATE_ALWAYS))) return 1;
    std::printf("%s, a wave: %d\n", tarn::Utf8FromUtf16(tarn::PrintText(u"%.1z dB", -125)).c_str(),
                QmFileIsWave(path.c_str(), 0));
}
