// The output layer: one report, printed for people or for scripts.

#include "report.h"

#include <windows.h>

#include <algorithm>
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

Value Value::List(std::vector<Value> items) {
    Value value;
    value.kind_ = Kind::List;
    value.items_ = std::move(items);
    return value;
}

Value Value::Object(std::vector<std::wstring> keys, std::vector<Value> values) {
    Value value;
    value.kind_ = Kind::Object;
    value.keys_ = std::move(keys);
    value.items_ = std::move(values);
    value.items_.resize(value.keys_.size());
    return value;
}

std::wstring Value::Plain() const {
    switch (kind_) {
        case Kind::Text: return text_;
        case Kind::Number: return std::to_wstring(number_);
        case Kind::Bool: return number_ ? L"yes" : L"no";
        case Kind::List:
        case Kind::Object: {
            std::wstring joined;
            for (const Value& item : items_) joined += (joined.empty() ? L"" : L", ") + item.Plain();
            if (!joined.empty()) return joined;
            break;
        }
        case Kind::None: break;
    }
    return L"-";
}

bool Value::IsFlatList() const {
    if (kind_ != Kind::List) return false;
    for (const Value& item : items_)
        if (!item.IsScalar()) return false;
    return true;
}

std::wstring Value::Json(size_t depth) const {
    switch (kind_) {
        case Kind::Text: return JsonQuote(text_);
        case Kind::Number: return std::to_wstring(number_);
        case Kind::Bool: return number_ ? L"true" : L"false";
        case Kind::List:
        case Kind::Object: break;
        case Kind::None: return L"null";
    }
    const bool object = kind_ == Kind::Object;
    const wchar_t* brackets = object ? L"{}" : L"[]";
    if (items_.empty()) return brackets;
    // Inside the report's object, a list of plain values and an object of
    // plain values and such lists (one row of a table) stay on one line;
    // anything holding more, and the report itself, gives each item a line
    // of its own.
    bool flat = depth > 0;
    for (const Value& item : items_) flat = flat && (item.IsScalar() || (object && item.IsFlatList()));
    const std::wstring indent((depth + 1) * 2, L' ');
    std::wstring json(1, brackets[0]);
    for (size_t i = 0; i < items_.size(); ++i) {
        if (i > 0) json += L",";
        json += flat ? (i > 0 ? L" " : L"") : L"\n" + indent;
        if (object) json += JsonQuote(keys_[i]) + L": ";
        json += items_[i].Json(depth + 1);
    }
    if (!flat) json += L"\n" + std::wstring(depth * 2, L' ');
    return json + brackets[1];
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
    for (const Column& column : columns_) keys.push_back(column.key);
    std::vector<Value> rows;
    for (const std::vector<Value>& row : rows_) rows.push_back(Value::Object(keys, row));
    return Value::List(std::move(rows));
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
    std::vector<std::wstring> keys;
    std::vector<Value> values;
    for (const Field& field : fields_) {
        if (field.key.empty()) continue;
        keys.push_back(field.key);
        values.push_back(field.value);
    }
    for (const NamedTable& table : tables_) {
        if (table.key.empty()) continue;
        keys.push_back(table.key);
        values.push_back(table.table.AsJson());
    }
    return Value::Object(std::move(keys), std::move(values)).Json() + L"\n";
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

std::wstring Count(size_t count, const std::wstring& singular) {
    return std::to_wstring(count) + L" " + singular + (count == 1 ? L"" : L"s");
}

int PrintReport(const Report& report, Format format) {
    if (!WriteOut(format == Format::Json ? report.AsJson() : report.AsText()))
        return Failure(L"cannot write to standard output (error " + std::to_wstring(GetLastError()) + L")");
    return kExitOk;
}

}  // namespace orvclus
