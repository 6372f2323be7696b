#include "host/app/parameter_scale.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace host {
namespace {
constexpr int STEPS = 1000;
constexpr int DIGITS = 5;
}  // namespace

int ParameterScale::Steps() const {
    const float span = m_parameter.maximum - m_parameter.minimum;
    return m_parameter.integer && span >= 1 && span <= STEPS ? static_cast<int>(span) : STEPS;
}

int ParameterScale::Position(float value) const {
    const double low = m_parameter.minimum, high = m_parameter.maximum;
    if (!(high > low)) return 0;
    const double at = std::clamp<double>(value, low, high);
    const double share =
        m_parameter.logarithmic ? std::log(at / low) / std::log(high / low) : (at - low) / (high - low);
    return static_cast<int>(std::lround(share * Steps()));
}

float ParameterScale::Value(int position) const {
    const double low = m_parameter.minimum, high = m_parameter.maximum;
    const double share = static_cast<double>(position) / Steps();
    if (position >= Steps()) return m_parameter.maximum;
    const double value =
        m_parameter.logarithmic ? low * std::pow(high / low, share) : low + (high - low) * share;
    return static_cast<float>(m_parameter.integer ? std::round(value) : value);
}

float ParameterScale::Stepped(float value, int steps) const {
    if (m_parameter.integer) return value + static_cast<float>(steps);
    // A hundredth of the way, in the slider's terms, so that ten steps are seen.
    return Value(std::clamp(Position(value) + steps * (STEPS / 100), 0, Steps()));
}

QString ParameterScale::Text(float value, const QLocale& locale) const {
    for (const auto& [at, name] : m_parameter.points)
        if (at == value) return QString::fromStdString(name);
    QLocale plain = locale;
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    // Digits as they are read: five that count, and no power of ten where a plain number does.
    const double size = std::abs(static_cast<double>(value));
    if (size >= 1e7 || (size < 1e-4 && size > 0)) return plain.toString(value, 'g', DIGITS);
    const int before = size < 1 ? 1 : static_cast<int>(std::log10(size)) + 1;
    QString text = plain.toString(value, 'f', m_parameter.integer ? 0 : std::max(0, DIGITS - before));
    const QString point = plain.decimalPoint();
    if (text.contains(point)) {
        while (text.endsWith(plain.zeroDigit())) text.chop(plain.zeroDigit().size());
        if (text.endsWith(point)) text.chop(point.size());
    }
    return text;
}

std::optional<float> ParameterScale::Parse(const QString& text, const QLocale& locale) const {
    QString number = text.trimmed();
    for (const auto& [value, name] : m_parameter.points)
        if (number.compare(QString::fromStdString(name).trimmed(), Qt::CaseInsensitive) == 0) return value;
    const QString unit = QString::fromStdString(m_parameter.unit);
    if (!unit.isEmpty() && number.endsWith(unit, Qt::CaseInsensitive)) number.chop(unit.size());
    bool ok = false;
    double value = locale.toDouble(number.trimmed(), &ok);
    if (!ok) value = QLocale::c().toDouble(number.trimmed(), &ok);
    if (!ok || !std::isfinite(value)) return std::nullopt;
    return static_cast<float>(std::clamp<double>(value, m_parameter.minimum, m_parameter.maximum));
}

}  // namespace host
