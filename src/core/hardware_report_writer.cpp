#include "hardware_report_writer.h"

#include <cstdio>

namespace tavix {
namespace {

std::string number(std::int64_t value) {
    return std::to_string(value);
}

// Length of a valid UTF-8 sequence starting at s[i], or 0.
std::size_t utf8Length(const std::string &s, std::size_t i) {
    const auto c = static_cast<unsigned char>(s[i]);
    std::size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < n; ++k) {
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return n;
}

std::string switchesText(int value) {
    std::string s;
    for (int n = 1; n <= 8; ++n) {
        s += static_cast<char>('0' + dipSwitch(value, n));
    }
    return s;
}

}  // namespace

const char *inputModeName(std::int64_t mode) {
    switch (mode) {
        case 0:
            return "Standard";
        case 1:
            return "HandWrite";
        case 2:
            return "Pen";
        default:
            return nullptr;
    }
}

std::string jsonString(const std::string &text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        const std::size_t n = utf8Length(text, i);
        if (n > 1) {
            out.append(text, i, n);
            i += n;
            continue;
        }
        ++i;
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c < 0x20 || c >= 0x7F) {
            // Control characters, and bytes that are not UTF-8, as their Latin-1 code point.
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string htmlEscape(const std::string &text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string hardwareReportJson(const HardwareInfoReport &r) {
    std::string j = "{\n";
    const auto field = [&j](const char *name, const std::string &value, bool last = false) {
        j += std::string("  \"") + name + "\": " + value + (last ? "\n" : ",\n");
    };
    const auto optionalBool = [](const std::optional<bool> &v) {
        return v ? (*v ? std::string("true") : std::string("false")) : std::string("null");
    };
    field("format", number(kHardwareReportFormat));
    field("time", jsonString(r.time));
    field("modelType", number(r.modelType));
    field("modelName", jsonString(r.modelName));
    field("driverVersion", jsonString(r.driverVersion));
    if (r.firmware) {
        field("firmwareVersion", jsonString(formatFirmwareVersion(r.modelType, *r.firmware)));
        field("checksum", jsonString(formatChecksum(*r.firmware)));
        field("checksumGood", r.firmware->verdict == 0 ? "true" : "false");
    } else {
        field("firmwareVersion", "null");
        field("checksum", "null");
        field("checksumGood", "null");
    }
    if (r.dipSwitches) {
        std::string list = "[";
        for (int n = 1; n <= 8; ++n) {
            list += (n > 1 ? ", " : "") + number(dipSwitch(*r.dipSwitches, n));
        }
        field("dipSwitches", list + "]");
    } else {
        field("dipSwitches", "null");
    }
    field("rotateMode", r.rotateMode ? number(*r.rotateMode) : "null");
    field("rotationDegrees", r.rotateMode ? number(*r.rotateMode * 90) : "null");
    field("inputMode", r.inputMode ? number(*r.inputMode) : "null");
    const char *modeName = r.inputMode ? inputModeName(*r.inputMode) : nullptr;
    field("inputModeName", modeName ? jsonString(modeName) : "null");
    field("functionButton1", optionalBool(r.functionButton1));
    field("functionButton2", optionalBool(r.functionButton2));
    field("computerName", jsonString(r.computerName));
    std::string addresses = "[";
    for (std::size_t i = 0; i < r.addresses.size(); ++i) {
        addresses += (i ? ", " : "") + jsonString(r.addresses[i]);
    }
    field("addresses", addresses + "]");
    if (!r.selfTestJudged) {
        field("selfTest", "null", true);
        return j + "}\n";
    }
    j += "  \"selfTest\": {\n    \"areas\": [";
    for (std::size_t i = 0; i < r.areas.size(); ++i) {
        const AreaSummary &a = r.areas[i];
        j += std::string(i ? ",\n" : "\n") + "      {\"area\": " + number(a.area) +
             ", \"label\": " + jsonString(a.label) + ", \"tested\": " + number(a.tested) +
             ", \"ledFaults\": " + number(a.ledFaults) +
             ", \"sensorFaults\": " + number(a.sensorFaults) +
             ", \"led\": " + jsonString(verdictName(a.led)) +
             ", \"sensor\": " + jsonString(verdictName(a.sensor)) + "}";
    }
    j += r.areas.empty() ? "],\n" : "\n    ],\n";
    j += "    \"failedPoints\": [";
    for (std::size_t i = 0; i < r.failedPoints.size(); ++i) {
        const ErrorRow &e = r.failedPoints[i];
        j += std::string(i ? ",\n" : "\n") + "      {\"area\": " + number(e.area) +
             ", \"label\": " + jsonString(e.label) + ", \"point\": " + number(e.point) +
             ", \"led\": " + (e.ledState == 1 ? "true" : "false") +
             ", \"sensor\": " + (e.sensState == 1 ? "true" : "false") + "}";
    }
    j += r.failedPoints.empty() ? "]\n" : "\n    ]\n";
    return j + "  }\n}\n";
}

std::string hardwareReportHtml(const HardwareInfoReport &r, const std::string &pngBase64) {
    std::string h =
        "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Touch panel report</title>\n"
        "<style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse;"
        "margin-bottom:1em}td,th{border:1px solid #888;padding:2px 8px;text-align:left}"
        ".bad{color:#b00000;font-weight:bold}.good{color:#006000}</style></head><body>\n";
    h += "<h1>Touch panel report</h1>\n<p>" + htmlEscape(r.time) + "</p>\n<table>\n";
    const auto row = [&h](const std::string &name, const std::string &value) {
        h += "<tr><th>" + htmlEscape(name) + "</th><td>" + value + "</td></tr>\n";
    };
    row("Model", htmlEscape(r.modelName) + " (" + number(r.modelType) + ")");
    row("Driver version", htmlEscape(r.driverVersion));
    if (r.firmware) {
        row("Firmware version", htmlEscape(formatFirmwareVersion(r.modelType, *r.firmware)));
        const bool good = r.firmware->verdict == 0;
        row("Checksum",
            htmlEscape(formatChecksum(*r.firmware)) +
                (good ? " <span class=\"good\">OK</span>" : " <span class=\"bad\">NG</span>"));
    }
    if (r.dipSwitches) {
        row("DIP switches 1-8", switchesText(*r.dipSwitches));
    }
    if (r.rotateMode) {
        row("Rotation", number(*r.rotateMode * 90) + "&deg;");
    }
    if (r.inputMode) {
        const char *name = inputModeName(*r.inputMode);
        row("Input mode", name ? name : number(*r.inputMode));
    }
    if (r.functionButton1) {
        row("Function button 1", *r.functionButton1 ? "on" : "off");
    }
    if (r.functionButton2) {
        row("Function button 2", *r.functionButton2 ? "on" : "off");
    }
    row("Computer", htmlEscape(r.computerName));
    std::string addresses;
    for (const std::string &a : r.addresses) {
        addresses += (addresses.empty() ? "" : ", ") + htmlEscape(a);
    }
    row("Addresses", addresses);
    h += "</table>\n<h2>Self-test</h2>\n";
    if (!r.selfTestJudged) {
        return h + "<p>Not run.</p>\n</body></html>\n";
    }
    if (!pngBase64.empty()) {
        h += "<p><img alt=\"Self-test picture of the frame\" src=\"data:image/png;base64," +
             pngBase64 + "\"></p>\n";
    }
    h += "<table><tr><th>Area</th><th>Tested</th><th>LED</th><th>Sensor</th></tr>\n";
    for (const AreaSummary &a : r.areas) {
        const auto cell = [](Verdict v) {
            return std::string(v == Verdict::OK ? "<td class=\"good\">" : "<td class=\"bad\">") +
                   verdictName(v) + "</td>";
        };
        h += "<tr><td>" + htmlEscape(a.label) + "</td><td>" + number(a.tested) + "</td>" +
             cell(a.led) + cell(a.sensor) + "</tr>\n";
    }
    h += "</table>\n<table><tr><th>Area</th><th>Point</th><th>LED</th><th>Sensor</th></tr>\n";
    for (const ErrorRow &e : r.failedPoints) {
        h += "<tr><td>" + htmlEscape(e.label) + "</td><td>" + number(e.point) + "</td><td>" +
             (e.ledState == 1 ? "failed" : "") + "</td><td>" + (e.sensState == 1 ? "failed" : "") +
             "</td></tr>\n";
    }
    return h + "</table>\n</body></html>\n";
}

}  // namespace tavix
