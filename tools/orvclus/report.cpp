// The output layer: one report, printed for people or for scripts.

#include "report.h"

#include <windows.h>

#include <algorithm>

#include "console.h"

namespace orvclus {

Value Value::Text(const std::wstring& text) { return Value(ToUtf8(text)); }

Value Value::Number(long long number) { return Value(number); }

Value Value::YesNo(bool yes) { return Value(yes); }

Value Value::None() { return Value(); }

Value Value::List(const std::vector<Value>& items) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Value& item : items) list.push_back(item.json_);
    return Value(std::move(list));
}

Value Value::Object(const std::vector<std::wstring>& keys, const std::vector<Value>& values) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (size_t i = 0; i < keys.size(); ++i) object[ToUtf8(keys[i])] = i < values.size() ? values[i].json_ : nullptr;
    return Value(std::move(object));
}

std::wstring Value::Plain() const {
    if (json_.is_string()) return FromUtf8(json_.get<std::string>());
    if (json_.is_boolean()) return json_.get<bool>() ? L"yes" : L"no";
    if (json_.is_number()) return FromUtf8(json_.dump());
    std::wstring joined;
    if (json_.is_structured())
        for (const auto& item : json_) joined += (joined.empty() ? L"" : L", ") + Value(item).Plain();
    return joined.empty() ? L"-" : joined;
}

void Table::AddRow(std::vector<Value> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::wstring Table::AsText() const {
    // The shown columns: headings, a rule under each, then the rows, every
    // column as wide as its widest entry and two blanks between columns.
    std::vector<size_t> shown;
    for (size_t column = 0; column < columns_.size(); ++column)
        if (!columns_[column].heading.empty()) shown.push_back(column);
    std::vector<std::vector<std::wstring>> lines(2);
    for (size_t column : shown) {
        lines[0].push_back(columns_[column].heading);
        lines[1].push_back(std::wstring());
    }
    for (const std::vector<Value>& row : rows_) {
        lines.emplace_back();
        for (size_t column : shown) lines.back().push_back(row[column].Plain());
    }
    std::vector<size_t> widths(shown.size(), 0);
    for (const auto& line : lines)
        for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
    for (size_t i = 0; i < shown.size(); ++i) lines[1][i].assign(widths[i], L'-');

    std::wstring text;
    for (const auto& line : lines) {
        std::wstring out;
        for (size_t i = 0; i < line.size(); ++i) {
            if (i > 0) out.append(widths[i - 1] - line[i - 1].size() + 2, L' ');
            out += line[i];
        }
        out.erase(out.find_last_not_of(L' ') + 1);
        text += out + L"\n";
    }
    return text;
}

Value Table::AsJson() const {
    std::vector<std::wstring> keys;
    for (const Column& column : columns_)
        if (!column.key.empty()) keys.push_back(column.key);
    std::vector<Value> rows;
    for (const std::vector<Value>& row : rows_) {
        std::vector<Value> cells;
        for (size_t column = 0; column < columns_.size(); ++column)
            if (!columns_[column].key.empty()) cells.push_back(row[column]);
        rows.push_back(Value::Object(keys, cells));
    }
    return Value::List(rows);
}

void Report::Add(const std::wstring& key, const std::wstring& label, const Value& value,
                 const std::wstring& shown) {
    fields_.push_back(Field{key, label, value, shown});
}

void Report::AddJsonOnly(const std::wstring& key, const Value& value) {
    fields_.push_back(Field{key, std::wstring(), value, std::wstring()});
}

void Report::AddTable(const std::wstring& key, const Table& table) { tables_.push_back(NamedTable{key, table}); }

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
    // An empty table says nothing the headline does not.
    for (const NamedTable& table : tables_)
        if (table.table.Rows() > 0) text += (text.empty() ? L"" : L"\n") + table.table.AsText();
    return text;
}

std::wstring Report::AsJson() const {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const Field& field : fields_)
        if (!field.key.empty()) object[ToUtf8(field.key)] = field.value.Json();
    for (const NamedTable& table : tables_)
        if (!table.key.empty()) object[ToUtf8(table.key)] = table.table.AsJson().Json();
    return FromUtf8(object.dump(2)) + L"\n";
}

std::wstring Count(size_t count, const std::wstring& singular) {
    return std::to_wstring(count) + L" " + singular + (count == 1 ? L"" : L"s");
}

int PrintReport(const Report& report, Format format) {
    if (!WriteOut(format == Format::Json ? report.AsJson() : report.AsText()))
        return Failure(L"cannot write to standard output (error " + std::to_wstring(GetLastError()) + L")");
    return kExitOk;
}

}  // namespace orvclus
