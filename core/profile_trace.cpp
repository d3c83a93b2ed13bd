// The recorder of traces and its output: trace events as JSON.

#include "core/profile_trace.h"

#include "vl/core/profile_report.h"
#include "vl/core/system.h"

#include <charconv>
#include <cstring>
#include <ostream>
#include <string_view>
#include <vector>

class V_ProfileTrace::Recorder final : public vl::TraceRecorder {
  public:
    ~Recorder() { stop(); }

    void start() {
        if (vl::traceRecorder)
            vl::traceRecorder->stop();
        m_events.clear();
        m_bComplete = true;
        if (!Sys)
            return;
        V_Profile::readClock(&m_start);
        m_dStartAge = Sys->getAppAge();
        vl::traceRecorder = this;
    }

    /// The scale of the recording is the stretch of age over which its ticks went.
    void stop() noexcept override {
        if (!isRecording())
            return;
        takeLength();
        vl::traceRecorder = nullptr;
    }

    void record(const vl::TraceEvent &event) noexcept override {
        Event stored = {};
        stored.isFrame = event.name == nullptr;
        if (event.name)
            std::memcpy(stored.name, event.name, sizeof stored.name);
        V_PTICK begin = event.start;
        stored.start = V_Profile::ticksBetween(&m_start, &begin);
        stored.ticks = event.ticks;
        stored.allocations = event.allocations;
        stored.releases = event.releases;
        if (stored.start < 0) // began before the recording
            return;
        try {
            m_events.push_back(stored);
        } catch (...) { // memory is exhausted: what was recorded until here is kept
            m_bComplete = false;
            stop();
        }
    }

    void write(std::ostream &out) {
        if (isRecording())
            takeLength();
        const double microseconds = m_dTicks > 0 ? m_dSeconds * 1e6 / m_dTicks : 0;
        out << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
        const char *separator = "\n";
        for (const Event &event : m_events) {
            out << separator << R"({"name":")";
            if (event.isFrame)
                out << "Frame";
            else
                writeEscaped(out, event.name);
            out << R"(","cat":")" << (event.isFrame ? "frame" : "section")
                << R"(","ph":"X","pid":1,"tid":1,"ts":)";
            writeNumber(out, event.start * microseconds);
            out << R"(,"dur":)";
            writeNumber(out, event.ticks * microseconds);
            if (!event.isFrame) {
                out << R"(,"args":{"allocations":)";
                writeNumber(out, event.allocations);
                out << R"(,"releases":)";
                writeNumber(out, event.releases);
                out << '}';
            }
            out << '}';
            separator = ",\n";
        }
        out << "\n]}\n";
    }

    bool isComplete() const { return m_bComplete; }
    std::size_t getEventCount() const { return m_events.size(); }

  private:
    struct Event {
        char name[sizeof V_PENTRY::name];
        double start; ///< since the recording began
        double ticks;
        int allocations, releases;
        bool isFrame;
    };

    bool isRecording() const { return vl::traceRecorder == this; }

    void takeLength() noexcept {
        V_PTICK now;
        V_Profile::readClock(&now);
        m_dTicks = V_Profile::ticksBetween(&m_start, &now);
        m_dSeconds = Sys->getAppAge() - m_dStartAge;
    }

    /// Digits and point whatever the locale of the stream.
    static void writeNumber(std::ostream &out, double number) {
        char text[400]; // the longest double without an exponent
        const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, 3).ptr;
        out.write(text, end - text);
    }
    static void writeNumber(std::ostream &out, int number) {
        char text[16];
        out.write(text, std::to_chars(text, text + sizeof text, number).ptr - text);
    }

    /// Length of the UTF-8 sequence at the start of `text`, 0 when there is none that is valid.
    static std::size_t sequenceLength(std::string_view text) {
        const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
        const unsigned char lead = byte(0);
        const std::size_t length = lead < 0x80   ? 1
                                   : lead < 0xC2 ? 0
                                   : lead < 0xE0 ? 2
                                   : lead < 0xF0 ? 3
                                   : lead < 0xF5 ? 4
                                                 : 0;
        if (length > text.size())
            return 0;
        for (std::size_t i = 1; i < length; ++i)
            if ((byte(i) & 0xC0) != 0x80)
                return 0;
        // Overlong forms, surrogates and numbers above 0x10FFFF show in the second byte.
        if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
            (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F))
            return 0;
        return length;
    }

    /// The content of a JSON string.
    static void writeEscaped(std::ostream &out, std::string_view text) {
        while (!text.empty()) {
            const auto first = static_cast<unsigned char>(text.front());
            std::size_t length = sequenceLength(text);
            if (first == '"' || first == '\\') {
                out << '\\' << text.front();
            } else if (first < 0x20) {
                constexpr char digits[] = "0123456789abcdef";
                out << "\\u00" << digits[first >> 4] << digits[first & 15];
            } else if (length == 0) {
                out << "\\ufffd";
                length = 1;
            } else {
                out << text.substr(0, length);
            }
            text.remove_prefix(length);
        }
    }

    std::vector<Event, V_Allocator<Event>> m_events;
    bool m_bComplete = true;
    V_PTICK m_start = {};
    double m_dStartAge = 0;
    double m_dTicks = 0;   ///< length of the recording on the profiler's clock,
    double m_dSeconds = 0; ///< and on the system object's
};

V_ProfileTrace::V_ProfileTrace() : m_pRecorder(new (std::nothrow) Recorder) {
    if (!m_pRecorder)
        V_throw(V_MemoryException_Allocation());
}

V_ProfileTrace::~V_ProfileTrace() = default;

void V_ProfileTrace::start() { m_pRecorder->start(); }

void V_ProfileTrace::stop() { m_pRecorder->stop(); }

bool V_ProfileTrace::isComplete() const { return m_pRecorder->isComplete(); }

std::size_t V_ProfileTrace::getEventCount() const { return m_pRecorder->getEventCount(); }

void V_ProfileTrace::write(std::ostream &out) const { m_pRecorder->write(out); }
