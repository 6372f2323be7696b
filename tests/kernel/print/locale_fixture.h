// Numbers as a given locale writes them.
#pragma once

#include "kernel/formats/inat.h"
#include "kernel/lang/lang.h"
#include "kernel/print/print_text.h"
#include "platform/locale.h"

#include <gtest/gtest.h>

class LocaleTest : public testing::Test {
protected:
    LocaleTest() { Use("en_US"); }
    ~LocaleTest() override { Use(""); }

    static void Use(const char* locale) {
        tarn::SetUserLocale(locale);
        QmLang_GetInternationals(tarn::KernelLang());
    }
};
