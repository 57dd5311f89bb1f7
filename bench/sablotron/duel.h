// What the library's benchmarks share: the texts, and measuring two ways to do the same.
#pragma once

#include "sablotron/sdom.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

inline std::string MimeTypes() {
    std::ifstream file(KOVA_SYSROOT "/usr/share/mime/packages/freedesktop.org.xml", std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

inline std::string Records(int count) {
    std::string text = "<records>";
    for (int i = 0; i < count; ++i)
        text += "<record id=\"" + std::to_string(i)
                + "\" kind=\"k\"><name>Name of a record</name><value>some text &amp; more of it</value></record>\n";
    return text + "</records>";
}

// Sums the times of two ways to do the same. They take turns in going first: the second one finds the heap that the
// first one left.
class Duel {
public:
    template <typename Ours, typename Theirs>
    void Run(Ours ours, Theirs theirs) {
        oursFirst_ = !oursFirst_;
        if (oursFirst_) ours_ += Time(ours);
        theirs_ += Time(theirs);
        if (!oursFirst_) ours_ += Time(ours);
    }
    void Report(benchmark::State& state) const {
        const auto rounds = static_cast<double>(state.iterations());
        state.counters["ours_ms"] = ours_ / rounds;
        state.counters["libxml2_ms"] = theirs_ / rounds;
        state.counters["ratio"] = ours_ / theirs_;
    }

private:
    template <typename Work>
    static double Time(Work work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }

    bool oursFirst_ = false;
    double ours_ = 0;
    double theirs_ = 0;
};

class Library {
public:
    Library() { SablotCreateSituation(&situation); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { SablotDestroySituation(situation); }

    SDOM_Document Parse(const std::string& text) const {
        SDOM_Document document = nullptr;
        SablotParseBuffer(situation, text.c_str(), &document);
        return document;
    }

    SablotSituation situation = nullptr;
};

inline xmlDoc* ParsePlain(const std::string& text) {
    return xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                         XML_PARSE_NOENT | XML_PARSE_NOCDATA | XML_PARSE_NONET | XML_PARSE_HUGE);
}
