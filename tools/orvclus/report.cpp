// The output layer: one report, printed for people or for scripts.

#include "report.h"

#include <windows.h>

#include <cwchar>

#include "console.h"

namespace orvclus {

Value Value::Text(const std::wstring& text) {
    Value value;
    value.kind_ = Kind::Text;
    value.text_ = text;
    return value;
}

Value Value::Number(long long number) {
    Value value;
    value.kind_ = Kind::Number;
    value.number_ = number;
    return value;
}

Value Value::YesNo(bool yes) {
    Value value;
    value.kind_ = Kind::Bool;
    value.number_ = yes ? 1 : 0;
    return value;
}

Value Value::None() { return Value(); }

std::wstring Value::Plain() const {
    switch (kind_) {
        case Kind::Text: return text_;
        case Kind::Number: return std::to_wstring(number_);
        case Kind::Bool: return number_ ? L"yes" : L"no";
        case Kind::None: break;
    }
    return L"-";
}

std::wstring Value::Json() const {
    switch (kind_) {
        case Kind::Text: return JsonQuote(text_);
        case Kind::Number: return std::to_wstring(number_);
        case Kind::Bool: return number_ ? L"true" : L"false";
        case Kind::None: break;
    }
    return L"null";
}

void Report::Add(const std::wstring& key, const std::wstring& label, const Value& value,
                 const std::wstring& shown) {
    fields_.push_back(Field{key, label, value, shown});
}

void Report::AddJsonOnly(const std::wstring& key, const Value& value) {
    fields_.push_back(Field{key, std::wstring(), value, std::wstring()});
}

std::wstring Report::AsText() const {
    size_t width = 0;
    for (const Field& field : fields_)
        if (field.label.size() > width) width = field.label.size();

    std::wstring text;
    if (!headline_.empty()) text += headline_ + L"\n";
    for (const Field& field : fields_) {
        if (field.label.empty()) continue;
        text += field.label + L":";
        // Values start in one column, two blanks after the longest label.
        text.append(width - field.label.size() + 2, L' ');
        text += field.shown.empty() ? field.value.Plain() : field.shown;
        text += L"\n";
    }
    return text;
}

std::wstring Report::AsJson() const {
    std::wstring json = L"{";
    bool first = true;
    for (const Field& field : fields_) {
        if (field.key.empty()) continue;
        json += first ? L"\n  " : L",\n  ";
        json += JsonQuote(field.key) + L": " + field.value.Json();
        first = false;
    }
    json += first ? L"}\n" : L"\n}\n";
    return json;
}

std::wstring JsonQuote(const std::wstring& text) {
    std::wstring quoted = L"\"";
    for (wchar_t c : text) {
        switch (c) {
            case L'"': quoted += L"\\\""; break;
            case L'\\': quoted += L"\\\\"; break;
            case L'\b': quoted += L"\\b"; break;
            case L'\f': quoted += L"\\f"; break;
            case L'\n': quoted += L"\\n"; break;
            case L'\r': quoted += L"\\r"; break;
            case L'\t': quoted += L"\\t"; break;
            default:
                if (c < 0x20) {
                    wchar_t escape[8];
                    swprintf(escape, 8, L"\\u%04x", static_cast<unsigned>(c));
                    quoted += escape;
                } else {
                    // Everything else, non-ASCII included, goes out as UTF-8.
                    quoted += c;
                }
        }
    }
    quoted += L"\"";
    return quoted;
}

int PrintReport(const Report& report, Format format) {
    if (!WriteOut(format == Format::Json ? report.AsJson() : report.AsText()))
        return Failure(L"cannot write to standard output (error " + std::to_wstring(GetLastError()) + L")");
    return kExitOk;
}

}  // namespace orvclus
