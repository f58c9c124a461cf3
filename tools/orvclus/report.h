#pragma once

#include <string>
#include <vector>

namespace orvclus {

enum class Format { Text, Json };

// One fact of a report, as plain text shows it and as JSON carries it.
class Value {
public:
    static Value Text(const std::wstring& text);
    static Value Number(long long number);
    static Value YesNo(bool yes);
    static Value None();

    std::wstring Plain() const;
    std::wstring Json() const;

private:
    enum class Kind { Text, Number, Bool, None };
    Kind kind_ = Kind::None;
    std::wstring text_;
    long long number_ = 0;
};

// What a command found: aligned "label: value" lines under an optional
// headline sentence, or one JSON object holding the same facts.
class Report {
public:
    void SetHeadline(const std::wstring& sentence) { headline_ = sentence; }
    // A fact shown in both forms; `shown`, when not empty, is the plain text
    // in place of the value's own.
    void Add(const std::wstring& key, const std::wstring& label, const Value& value,
             const std::wstring& shown = std::wstring());
    // A fact that only scripts need (the plain text already says it another way).
    void AddJsonOnly(const std::wstring& key, const Value& value);

    std::wstring AsText() const;
    std::wstring AsJson() const;

private:
    struct Field {
        std::wstring key;    // empty: plain text only
        std::wstring label;  // empty: JSON only
        Value value;
        std::wstring shown;
    };
    std::wstring headline_;
    std::vector<Field> fields_;
};

// The text as a JSON string literal, quotes included.
std::wstring JsonQuote(const std::wstring& text);

// Prints the report on standard output; answers the command's exit code.
int PrintReport(const Report& report, Format format);

}  // namespace orvclus
