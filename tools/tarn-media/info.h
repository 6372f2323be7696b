// What is in files, and what is wrong with them.
#pragma once

#include "tools/tarn-media/batch.h"

struct InfoOptions {
    BatchOptions batch;
    bool json = false;
};

int Info(const InfoOptions& options);
int Verify(const InfoOptions& options);
