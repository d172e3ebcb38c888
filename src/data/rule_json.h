#pragma once
// The rule table as JSON, for backups and dotfiles: {"rules": [{"Active": true, "Name": ...}]},
// every field of every rule by its udtRule name, so that an export read back gives the same
// bytes in the data file.
#include "data/records.h"

#include <QByteArray>
#include <QString>
#include <vector>

QByteArray RulesToJson();
// Reads a table in that form, every field of every rule checked by SetRuleField. Returns the
// first problem (naming the rule and the field), or empty with the table in `rules`. A field
// left out or null stays as a new record holds it.
QString RulesFromJson(const QByteArray& json, std::vector<udtRule>& rules);
