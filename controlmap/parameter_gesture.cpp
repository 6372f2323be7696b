#include "controlmap/parameter_gesture.h"

/// Input of a get, and of a set as well.
void ParameterGesture::Aim() {
    m_rec.pairSelector = m_parameter.pairSelector;
    m_rec.sendSelector = m_parameter.sendSelector;
}

HRESULT ParameterGesture::Read() {
    m_rec = {};
    Aim();
    const HRESULT hr = m_access->GetChannel(m_id, &m_rec, m_parameter.mask | MASK_AUTOMATION);
    Aim();
    m_rec.selector = m_parameter.selector;
    return hr;
}

HRESULT ParameterGesture::Touch(bool on, HRESULT* told) {
    const HRESULT hr = Read();
    if (hr != S_OK) return hr;
    m_running = on;
    m_rec.automation = on ? m_rec.automation | AUTOMATION_TOUCH : m_rec.automation & ~AUTOMATION_TOUCH;
    const HRESULT set = m_access->SetChannel(m_id, &m_rec, m_parameter.mask | MASK_AUTOMATION);
    if (told) *told = set;
    return S_OK;
}

HRESULT ParameterGesture::Change(float value, float linked) {
    m_rec.*m_parameter.field = value;
    if (m_parameter.linked) m_rec.*m_parameter.linked = linked;
    return m_access->SetChannel(m_id, &m_rec, m_parameter.mask | m_parameter.changeMask);
}
