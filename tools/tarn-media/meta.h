// The commands of `tarn-media meta`.
#pragma once

#include "tools/tarn-media/batch.h"

struct MetaOptions {
    BatchOptions batch;
    std::string from, output;        ///< the file that is copied or imported; a copy in the place of an edit
    std::vector<std::string> kinds;  ///< empty for all
    bool json = false, dryRun = false, checksum = false, force = false;
};

int MetaShow(const MetaOptions& options);
/// KEY=VALUE stands among the files.
int MetaSet(MetaOptions options);
int MetaCopy(const MetaOptions& options);
int MetaStrip(const MetaOptions& options);
int MetaExport(const MetaOptions& options);
int MetaImport(const MetaOptions& options);
int MetaCheck(const MetaOptions& options);
