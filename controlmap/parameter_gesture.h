// A gesture on one parameter of a channel, as the host hears of it: touch, changes, release. What the page's
// controls do and what a surface's do is one thing to the host, and is made here for both.
#pragma once

#include "contract/host_contract.h"

/// How gestures reach the host's channels. S_FALSE for a channel that is not there.
struct ChannelAccess {
    /// Of a channel, or of an effect when the path has a second part.
    virtual HRESULT GetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) = 0;
    virtual HRESULT SetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) = 0;

protected:
    ~ChannelAccess() = default;
};

/// Which value of a channel is meant.
struct GestureParameter {
    uint32_t mask;  ///< MASK_ of the value
    uint32_t pairSelector = 0, sendSelector = 0;
    uint32_t selector = 0;                  ///< of what is set: SELECT_CONSOLE_WRITE
    float MPCHANNELREC::*field = nullptr;   ///< null: touched only
    float MPCHANNELREC::*linked = nullptr;  ///< set alike
    uint32_t changeMask = 0;                ///< MASK_AUTOMATION: changes carry the touch
};

class ParameterGesture {
public:
    ParameterGesture() = default;
    ParameterGesture(ChannelAccess& access, const MPCHANNELID& id, const GestureParameter& parameter)
        : m_access(&access), m_id(id), m_parameter(parameter) {}

    /// Asks for the value, and the state of its automation.
    HRESULT Read();
    /// As it was read.
    float Value() const { return m_rec.*m_parameter.field; }
    float LinkedValue() const { return m_rec.*(m_parameter.linked ? m_parameter.linked : m_parameter.field); }

    /// Touches the parameter and lets it go. Its value and the modes of its automation stay as the host has
    /// them: a touch must not round a value to a position. A failure to ask leaves all as it was; what the
    /// host says to being told is in *told, since it may know no touches.
    HRESULT Begin(HRESULT* told = nullptr) { return Touch(true, told); }
    HRESULT End(HRESULT* told = nullptr) { return Touch(false, told); }
    bool IsRunning() const { return m_running; }

    /// Within a gesture or without one. What is linked is set alike, or to a value of its own.
    HRESULT Change(float value) { return Change(value, value); }
    HRESULT Change(float value, float linked);

private:
    HRESULT Touch(bool on, HRESULT* told);
    void Aim();

    ChannelAccess* m_access = nullptr;
    MPCHANNELID m_id{};
    GestureParameter m_parameter{};
    MPCHANNELREC m_rec{};
    bool m_running = false;
};
