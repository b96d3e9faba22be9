#include "bench/Compared.h"

#include <emmintrin.h>
#include <rapidjson/document.h>
#include <rapidjson/encodedstream.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <simdjson.h>

#include <nlohmann/json.hpp>

#include "common/UtcTime.h"

namespace {

// A fast conversion, so that libraries that keep UTF-8 are not slowed down by the platform's conversion.
WideString widen(std::string_view bytes) {
    WideString out(bytes.size(), WCHAR(0));
    std::size_t at = 0, to = 0;
    while (at < bytes.size()) {
        for (; at + 16 <= bytes.size(); at += 16, to += 16) {
            const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + at));
            if (_mm_movemask_epi8(chunk) != 0) break;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out.data() + to),
                             _mm_unpacklo_epi8(chunk, _mm_setzero_si128()));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out.data() + to + 8),
                             _mm_unpackhi_epi8(chunk, _mm_setzero_si128()));
        }
        if (at == bytes.size()) break;
        const auto byte = [&](std::size_t i) {
            return static_cast<unsigned>(static_cast<unsigned char>(bytes[at + i]));
        };
        const unsigned lead = byte(0);
        if (lead < 0x80) {
            out[to++] = static_cast<WCHAR>(lead);
            at += 1;
        } else if (lead < 0xE0) {
            out[to++] = static_cast<WCHAR>((lead & 0x1F) << 6 | (byte(1) & 0x3F));
            at += 2;
        } else if (lead < 0xF0) {
            out[to++] = static_cast<WCHAR>((lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F));
            at += 3;
        } else {
            const unsigned c = (lead & 7) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
            out[to++] = static_cast<WCHAR>(0xD7C0 + (c >> 10));
            out[to++] = static_cast<WCHAR>(0xDC00 + (c & 0x3FF));
            at += 4;
        }
    }
    out.resize(to);
    return out;
}

std::string narrow(WideView text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto put = [&out](unsigned value) { out.push_back(static_cast<char>(value)); };
        unsigned c = text[i];
        if ((c & 0xFC00) == 0xD800 && i + 1 < text.size()) c = 0x10000 + ((c & 0x3FF) << 10) + (text[++i] & 0x3FFU);
        if (c < 0x80)
            put(c);
        else if (c < 0x800)
            put(0xC0 | c >> 6), put(0x80 | (c & 0x3F));
        else if (c < 0x10000)
            put(0xE0 | c >> 12), put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
        else
            put(0xF0 | c >> 18), put(0x80 | (c >> 12 & 0x3F)), put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
    }
    return out;
}

// Fills a record from `Source`, which offers text(key), number(object, key) and flag(key).
template <typename Source>
void fill(Source source, NoteRecord& record) {
    record = NoteRecord();
    record.id = source.text("id");
    record.title = source.text("title");
    record.content = source.text("content");
    record.contentRtf = source.text("contentRtf");
    record.author = source.text("author");
    parseUtcTime(source.text("created"), record.created);
    parseUtcTime(source.text("modified"), record.modified);
    parseColor(source.text("bgColor"), record.bgColor);
    record.titleBarBGColorSet = parseColor(source.text("titleBarBGColor"), record.titleBarBGColor);
    parseColor(source.text("noteTitleColor"), record.noteTitleColor);
    parseColor(source.text("noteBodyColor"), record.noteBodyColor);
    record.hasPosition = true;
    record.x = source.number("position", "x");
    record.y = source.number("position", "y");
    record.width = source.number("position", "width");
    record.height = source.number("position", "height");
    record.monitorDevice = source.device();
    record.monitorBounds = {source.bound("left"), source.bound("top"), source.bound("right"), source.bound("bottom")};
    record.editable = source.flag("editable");
    record.allowNewNote = source.flag("allowNewNote");
    record.logo = source.text("logo");
}

using Nlohmann = nlohmann::ordered_json;

struct NlohmannSource {
    const Nlohmann& json;
    WideString text(const char* key) {
        const auto at = json.find(key);
        return at == json.end() ? WideString() : widen(at->get_ref<const std::string&>());
    }
    LONG number(const char* object, const char* key) {
        return static_cast<LONG>(json.at(object).at(key).get<double>());
    }
    WideString device() { return widen(json.at("monitor").at("device").get_ref<const std::string&>()); }
    LONG bound(const char* key) { return static_cast<LONG>(json.at("monitor").at("bounds").at(key).get<double>()); }
    bool flag(const char* key) { return json.contains(key) && json.at(key).get<bool>(); }
};

using WideDocument = rapidjson::GenericDocument<rapidjson::UTF16<WCHAR>>;
using WideValue = rapidjson::GenericValue<rapidjson::UTF16<WCHAR>>;

struct RapidSource {
    const WideDocument& json;
    static WideString key(const char* name) { return WideString(name, name + std::char_traits<char>::length(name)); }
    static WideString textOf(const WideValue& value) { return WideString(value.GetString(), value.GetStringLength()); }
    WideString text(const char* name) {
        const auto at = json.FindMember(key(name).c_str());
        return at == json.MemberEnd() ? WideString() : textOf(at->value);
    }
    LONG number(const char* object, const char* name) {
        return static_cast<LONG>(json[key(object).c_str()][key(name).c_str()].GetDouble());
    }
    WideString device() { return textOf(json[TEXT("monitor")][TEXT("device")]); }
    LONG bound(const char* name) {
        return static_cast<LONG>(json[TEXT("monitor")][TEXT("bounds")][key(name).c_str()].GetDouble());
    }
    bool flag(const char* name) {
        const auto at = json.FindMember(key(name).c_str());
        return at != json.MemberEnd() && at->value.GetBool();
    }
};

struct SimdSource {
    simdjson::dom::element json;
    static LONG numberOf(simdjson::simdjson_result<simdjson::dom::element> value) {
        return static_cast<LONG>(double(value));
    }
    WideString text(const char* key) {
        std::string_view found;
        return json[key].get(found) == simdjson::SUCCESS ? widen(found) : WideString();
    }
    LONG number(const char* object, const char* key) { return numberOf(json[object][key]); }
    WideString device() { return widen(std::string_view(json["monitor"]["device"])); }
    LONG bound(const char* key) { return numberOf(json["monitor"]["bounds"][key]); }
    bool flag(const char* key) {
        bool found = false;
        return json[key].get(found) == simdjson::SUCCESS && found;
    }
};

std::string hex(COLORREF color) {
    return narrow(formatColor(color));
}

}  // namespace

void readWithNlohmann(const std::string& bytes, NoteRecord& record) {
    const Nlohmann json = Nlohmann::parse(bytes);
    fill(NlohmannSource{json}, record);
}

void readWithRapidJson(const std::string& bytes, NoteRecord& record) {
    WideDocument json;
    rapidjson::MemoryStream stream(bytes.data(), bytes.size());
    json.ParseStream<rapidjson::kParseNoFlags, rapidjson::UTF8<>>(stream);
    fill(RapidSource{json}, record);
}

void readWithSimdjson(const std::string& bytes, NoteRecord& record) {
    static simdjson::dom::parser parser;
    fill(SimdSource{parser.parse(bytes)}, record);
}

std::string writeWithNlohmann(const NoteRecord& record) {
    Nlohmann json;
    json["id"] = narrow(record.id);
    json["title"] = narrow(record.title);
    json["content"] = narrow(record.content);
    if (!record.contentRtf.empty()) json["contentRtf"] = narrow(record.contentRtf);
    json["author"] = narrow(record.author);
    json["created"] = narrow(formatUtcTime(record.created));
    json["modified"] = narrow(formatUtcTime(record.modified));
    json["bgColor"] = hex(record.bgColor);
    json["position"] = {{"x", record.x}, {"y", record.y}, {"width", record.width}, {"height", record.height}};
    json["monitor"] = {{"device", narrow(record.monitorDevice)},
                       {"bounds",
                        {{"left", record.monitorBounds.left},
                         {"top", record.monitorBounds.top},
                         {"right", record.monitorBounds.right},
                         {"bottom", record.monitorBounds.bottom}}}};
    json["editable"] = record.editable;
    json["allowNewNote"] = record.allowNewNote;
    json["logo"] = narrow(record.logo);
    return json.dump(2);
}

std::string writeWithRapidJson(const NoteRecord& record) {
    WideDocument json(rapidjson::kObjectType);
    auto& memory = json.GetAllocator();
    const auto text = [](const WideString& value) {
        return WideValue(rapidjson::StringRef(value.c_str(), static_cast<rapidjson::SizeType>(value.size())));
    };
    const auto copy = [&memory](const WideString& value) { return WideValue(value.c_str(), memory); };
    const auto number = [](LONG value) { return WideValue(static_cast<std::int32_t>(value)); };
    json.AddMember(TEXT("id"), text(record.id), memory);
    json.AddMember(TEXT("title"), text(record.title), memory);
    json.AddMember(TEXT("content"), text(record.content), memory);
    if (!record.contentRtf.empty()) json.AddMember(TEXT("contentRtf"), text(record.contentRtf), memory);
    json.AddMember(TEXT("author"), text(record.author), memory);
    json.AddMember(TEXT("created"), copy(formatUtcTime(record.created)), memory);
    json.AddMember(TEXT("modified"), copy(formatUtcTime(record.modified)), memory);
    json.AddMember(TEXT("bgColor"), copy(formatColor(record.bgColor)), memory);
    WideValue position(rapidjson::kObjectType), monitor(rapidjson::kObjectType), bounds(rapidjson::kObjectType);
    position.AddMember(TEXT("x"), number(record.x), memory);
    position.AddMember(TEXT("y"), number(record.y), memory);
    position.AddMember(TEXT("width"), number(record.width), memory);
    position.AddMember(TEXT("height"), number(record.height), memory);
    bounds.AddMember(TEXT("left"), number(record.monitorBounds.left), memory);
    bounds.AddMember(TEXT("top"), number(record.monitorBounds.top), memory);
    bounds.AddMember(TEXT("right"), number(record.monitorBounds.right), memory);
    bounds.AddMember(TEXT("bottom"), number(record.monitorBounds.bottom), memory);
    monitor.AddMember(TEXT("device"), text(record.monitorDevice), memory);
    monitor.AddMember(TEXT("bounds"), bounds, memory);
    json.AddMember(TEXT("position"), position, memory);
    json.AddMember(TEXT("monitor"), monitor, memory);
    json.AddMember(TEXT("editable"), WideValue(record.editable), memory);
    json.AddMember(TEXT("allowNewNote"), WideValue(record.allowNewNote), memory);
    json.AddMember(TEXT("logo"), text(record.logo), memory);
    rapidjson::StringBuffer out;
    rapidjson::PrettyWriter<rapidjson::StringBuffer, rapidjson::UTF16<WCHAR>, rapidjson::UTF8<>> writer(out);
    writer.SetIndent(' ', 2);
    json.Accept(writer);
    return std::string(out.GetString(), out.GetSize());
}
