// Checks one value of a record after the other and refuses at the first fault, with the place.
#pragma once

#include "host/session/session.h"

namespace host {

class RuleChecker {
public:
    explicit RuleChecker(std::string place = {}) : m_place(std::move(place)) {}
    void Enter(std::string place) { m_place = std::move(place); }

    void Require(bool good, const char* member, std::string_view reason) const {
        if (!good) throw SessionError({}, m_place + member, reason);
    }
    void Range(double v, double low, double high, const char* member) const {
        Require(v >= low && v <= high, member, "is out of range");  // false for NaN as well
    }
    void Text(const std::string& text, size_t maxBytes, const char* member) const;

private:
    std::string m_place;
};

/// What concerns one channel alone; routes are the session's.
void CheckChannel(const Channel& channel, const std::string& place);

}  // namespace host
