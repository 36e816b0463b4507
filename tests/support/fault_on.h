#pragma once

#include <string>

#include "localdrive/server.h"

// A fault of the local drive in words:
//     server.addFault(FaultOn("openFile/list").after(1).times(2).status(503));
// The path is the glob that localdrive::Fault looks for. Without times() it strikes once.
class FaultOn final
{
public:
    explicit FaultOn(const std::string &path) { m_fault.path = path; }
    // NOLINTNEXTLINE(google-explicit-constructor): it is one, in words.
    operator const localdrive::Fault &() const { return m_fault; }

    FaultOn &method(const std::string &name) { return set(m_fault.method, name); }
    FaultOn &after(int unharmed) { return set(m_fault.skip, unharmed); }
    FaultOn &times(int count) { return set(m_fault.count, count); }
    FaultOn &always() { return set(m_fault.count, -1); }

    FaultOn &delay(int milliseconds)
    {
        return set(m_fault.delay, localdrive::Milliseconds(milliseconds));
    }
    // Until the faults are cleared.
    FaultOn &holds() { return delay(120000); }
    FaultOn &status(int number, const std::string &code = {}, const std::string &message = {})
    {
        m_fault.code = code;
        m_fault.message = message;
        return set(m_fault.status, number);
    }
    FaultOn &body(const std::string &text) { return set(m_fault.body, std::optional(text)); }
    FaultOn &wire(localdrive::Break kind) { return set(m_fault.wire, kind); }
    FaultOn &closes() { return wire(localdrive::Break::CloseBeforeReply); }
    FaultOn &cuts() { return wire(localdrive::Break::CloseInsideBody); }
    FaultOn &freezes() { return wire(localdrive::Break::Freeze); }
    FaultOn &trickles(std::int64_t bytesPerSecond)
    {
        m_fault.bytesPerSecond = bytesPerSecond;
        return wire(localdrive::Break::Trickle);
    }

private:
    template <class Value>
    FaultOn &set(Value &field, const Value &value)
    {
        field = value;
        return *this;
    }

    localdrive::Fault m_fault;
};
