// A parameter's value as a place on a slider and as text, and back.
#pragma once

#include "host/effects/effect.h"

#include <QString>

#include <optional>

class QLocale;

namespace host {

class ParameterScale {
public:
    explicit ParameterScale(const EffectParameter& parameter) : m_parameter(parameter) {}

    /// The slider's highest position; the lowest is 0.
    int Steps() const;
    int Position(float value) const;
    float Value(int position) const;
    /// Where a step up or down goes from here; an integer count of them where there are such.
    float Stepped(float value, int steps) const;

    /// With five digits, or the name that the value has; without the unit.
    QString Text(float value, const QLocale& locale) const;
    /// What a user typed, with the unit or without, or a name.
    std::optional<float> Parse(const QString& text, const QLocale& locale) const;

private:
    const EffectParameter& m_parameter;
};

}  // namespace host
