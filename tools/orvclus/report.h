#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace orvclus {

enum class Format { Text, Json };

// One fact of a report, as plain text shows it and as JSON carries it.
class Value {
public:
    Value() = default;  // none
    static Value Text(const std::wstring& text);
    static Value Number(long long number);
    static Value YesNo(bool yes);
    static Value None();
    // A JSON array; plain text joins the items with ", " ("-" when empty).
    static Value List(const std::vector<Value>& items);
    // A JSON object of the given keys and values, in that order.
    static Value Object(const std::vector<std::wstring>& keys, const std::vector<Value>& values);
    // A list of texts.
    template <typename Container>
    static Value TextList(const Container& texts) {
        std::vector<Value> items;
        for (const auto& text : texts) items.push_back(Text(text));
        return List(items);
    }

    std::wstring Plain() const;
    const nlohmann::ordered_json& Json() const { return json_; }

private:
    explicit Value(nlohmann::ordered_json json) : json_(std::move(json)) {}
    nlohmann::ordered_json json_;
};

// One column of a table: its key in JSON and its heading in plain text. A
// column without a heading is left out of plain text, one without a key out
// of JSON.
struct Column {
    std::wstring key;
    std::wstring heading;
};

// Rows of facts: aligned columns under their headings in plain text, an
// array of objects in JSON.
class Table {
public:
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
    // One value per column, in the columns' order.
    void AddRow(std::vector<Value> cells);
    size_t Rows() const { return rows_.size(); }
    const std::vector<std::vector<Value>>& Cells() const { return rows_; }

    std::wstring AsText() const;
    Value AsJson() const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<Value>> rows_;
};

// What a command found: a headline sentence, aligned "label: value" lines and
// tables, or one JSON object holding the same facts.
class Report {
public:
    void SetHeadline(const std::wstring& sentence) { headline_ = sentence; }
    // A fact shown in both forms; `shown`, when not empty, is the plain text
    // in place of the value's own.
    void Add(const std::wstring& key, const std::wstring& label, const Value& value,
             const std::wstring& shown = std::wstring());
    // A fact that only scripts need (the plain text already says it another way).
    void AddJsonOnly(const std::wstring& key, const Value& value);
    // A table, after the "label: value" lines in plain text; an empty key
    // shows it in plain text only.
    void AddTable(const std::wstring& key, const Table& table);

    std::wstring AsText() const;
    // The report's one JSON object, laid out over lines.
    std::wstring AsJson() const;

private:
    struct Field {
        std::wstring key;    // empty: plain text only
        std::wstring label;  // empty: JSON only
        Value value;
        std::wstring shown;
    };
    struct NamedTable {
        std::wstring key;
        Table table;
    };
    std::wstring headline_;
    std::vector<Field> fields_;
    std::vector<NamedTable> tables_;
};

// "1 node", "2 nodes".
std::wstring Count(size_t count, const std::wstring& singular);

// Prints the report on standard output; answers the command's exit code.
int PrintReport(const Report& report, Format format);

}  // namespace orvclus
