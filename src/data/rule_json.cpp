#include "data/rule_json.h"

#include "data/globals.h"
#include "data/rule_edits.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace {
const QString kRules = QStringLiteral("rules");
const QString kReserved = QStringLiteral("Reserved");

// A text field as it stands: null while it was never set (NULs), its raw characters when
// another writer padded a text with NULs, else its text without the padding.
QJsonValue TextValue(const StoredText& stored) {
    if (stored.fill != QLatin1Char(' ')) {
        if (stored.text.isEmpty()) return QJsonValue::Null;
        return stored.raw;
    }
    return stored.text;
}

// Never read: null while it holds NULs, else its raw characters as another writer left them.
QJsonValue ReservedValue(const udtRule& rule) {
    if (rule.Reserved.text().isEmpty() && rule.Reserved.fill() == QChar(0)) return QJsonValue::Null;
    return rule.Reserved.raw();
}

QJsonValue FieldValue(const udtRule& rule, RuleField field) {
    switch (KindOf(field)) {
    case RuleFieldKind::Boolean:
        return RuleFieldValue(rule, field) == QLatin1String("1");
    case RuleFieldKind::Code:
        return RuleFieldValue(rule, field).toInt();
    case RuleFieldKind::Text:
        break;
    }
    return TextValue(RuleFieldStored(rule, field));
}

// The value as SetRuleField takes it; false for a JSON type no field holds.
bool ValueText(const QJsonValue& value, QString& text) {
    if (value.isBool()) {
        text = value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
        return true;
    }
    if (value.isDouble()) {
        const double d = value.toDouble();
        if (d != std::floor(d) || std::abs(d) > 1e9) return false;
        text = QString::number(static_cast<long long>(d));
        return true;
    }
    if (value.isString()) {
        text = value.toString();
        return true;
    }
    return false;
}

QString RuleFromJson(const QJsonObject& object, udtRule& rule) {
    for (auto it = object.begin(); it != object.end(); ++it)
        if (!FindRuleField(it.key()) && it.key() != kReserved)
            return QStringLiteral("unknown field '%1'").arg(it.key());
    for (const RuleField field : AllRuleFields()) {
        const QString name = RuleFieldName(field);
        QJsonValue value;
        for (auto it = object.begin(); it != object.end(); ++it)
            if (it.key().compare(name, Qt::CaseInsensitive) == 0) value = it.value();
        if (value.isNull() || value.isUndefined()) {
            if (field == RuleField::Name) return QStringLiteral("Name is missing");
            continue;
        }
        QString text;
        if (!ValueText(value, text))
            return name + QStringLiteral(" takes a text, a whole number, true or false");
        if (const EditResult set = SetRuleField(rule, field, text); !set.ok()) return set.message;
    }
    const QJsonValue reserved = object.value(kReserved);
    if (reserved.isString() && reserved.toString().size() <= decltype(rule.Reserved)::Length)
        rule.Reserved.setRaw(reserved.toString());
    else if (!reserved.isNull() && !reserved.isUndefined())
        return QStringLiteral("Reserved takes null or the field's %1 characters")
            .arg(decltype(rule.Reserved)::Length);
    return {};
}
} // namespace

QByteArray RulesToJson() {
    // Written by hand, so that the fields stand in record order (a QJsonObject sorts its keys).
    const auto encoded = [](const QJsonValue& v) {
        const QByteArray one = QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact);
        return one.mid(1, one.size() - 2);
    };
    QByteArray json = "{\n    \"rules\": [";
    for (int i = 1; i <= Rules.count(); ++i) {
        const udtRule& rule = Rules[static_cast<size_t>(i)];
        json += i == 1 ? "\n        {" : ",\n        {";
        for (const RuleField field : AllRuleFields())
            json += "\n            \"" + RuleFieldName(field).toLatin1() +
                    "\": " + encoded(FieldValue(rule, field)) + ',';
        json += "\n            \"" + kReserved.toLatin1() + "\": " + encoded(ReservedValue(rule)) +
                "\n        }";
    }
    json += Rules.count() > 0 ? "\n    ]\n}\n" : "]\n}\n";
    return json;
}

QString RulesFromJson(const QByteArray& json, std::vector<udtRule>& rules) {
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (doc.isNull())
        return QStringLiteral("not JSON: %1 at byte %2").arg(error.errorString()).arg(error.offset);
    const QJsonValue list = doc.object().value(kRules);
    if (!list.isArray()) return QStringLiteral("no list of rules: expected {\"rules\": [...]}");
    const QJsonArray array = list.toArray();
    if (array.size() > std::numeric_limits<int16_t>::max())
        return QStringLiteral("more rules than the table holds");
    std::vector<udtRule> read;
    for (qsizetype i = 0; i < array.size(); ++i) {
        udtRule rule;
        const QString problem = array.at(i).isObject() ? RuleFromJson(array.at(i).toObject(), rule)
                                                       : QStringLiteral("not an object");
        if (!problem.isEmpty()) {
            // A raw name from another writer ends in NULs.
            const QString name = array.at(i)
                                     .toObject()
                                     .value(QStringLiteral("Name"))
                                     .toString()
                                     .remove(QChar(0))
                                     .trimmed();
            return QStringLiteral("rule %1%2: %3")
                .arg(i + 1)
                .arg(name.isEmpty() ? QString() : QStringLiteral(" ('%1')").arg(name))
                .arg(problem);
        }
        read.push_back(rule);
    }
    rules = std::move(read);
    return {};
}
