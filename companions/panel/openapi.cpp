// SPDX-License-Identifier: GPL-3.0-or-later
// openapi.json, from the tables of routes, verbs and fields of the state.
#include "companions/panel/panel.h"
#include "platform/product/programtext.h"
#include "platform/qmx/clip/qmxclipwaveform.h"

#include <QJsonArray>

#include <map>

namespace {
QJsonObject schemaOf(const VerbArgument &argument)
{
    const bool isInteger = argument.type == VerbArgument::Type::Integer;
    QJsonObject schema{{"type", isInteger                                     ? "integer"
                                : argument.type == VerbArgument::Type::Number ? "number"
                                                                              : "string"}};
    if (isInteger || argument.type == VerbArgument::Type::Number) {
        schema["minimum"] = argument.minimum;
        schema["maximum"] = argument.maximum;
    }
    return schema;
}

QJsonObject parameter(const QString &name, const char *place, bool isRequired, const QJsonObject &schema,
                      const QString &help)
{
    QJsonObject object{{"name", name}, {"in", place}, {"required", isRequired}, {"schema", schema}};
    if (!help.isEmpty()) object["description"] = help;
    return object;
}

QJsonObject content(const char *type, const QJsonObject &schema)
{
    return {{type, QJsonObject{{"schema", schema}}}};
}

QJsonObject reference(const char *name)
{
    return {{"$ref", QStringLiteral("#/components/schemas/%1").arg(QLatin1String(name))}};
}

QJsonObject responses(const RouteRow &row, const QJsonObject &schema)
{
    const bool isJson = qstrcmp(row.type, "application/json") == 0;
    const QJsonObject body = content(row.type, isJson ? schema : QJsonObject{});
    const auto done = [](const char *what, const QJsonObject &made) {
        return QJsonObject{{"description", what}, {"content", made}};
    };
    QJsonObject all{
        {"200", done("done", body)},
        {"default", QJsonObject{{"description", "what is wrong, and what to do"},
                                {"content", content("application/problem+json", reference("problem"))}}}};
    if (row.handle == postVerb || row.handle == postClipVerb)
        all["202"] = done("given, and not waited for", body);
    if (row.handle == getClipFile) {
        all["206"] = done("the part that was asked for", body);
        all["304"] = QJsonObject{{"description", "it has not changed"}};
    }
    if (row.handle == getScopes) all["204"] = QJsonObject{{"description", "the first are being made"}};
    return all;
}

QJsonObject operation(const RouteRow &row, const QJsonArray &parameters, const QJsonObject &schema,
                      const QString &id)
{
    QJsonObject object{{"operationId", id},
                       {"summary", row.summary},
                       {"parameters", parameters},
                       {"responses", responses(row, schema)}};
    if (row.role > Role::View) object["security"] = QJsonArray{QJsonObject{{"token", QJsonArray()}}};
    return object;
}

/// What a query parameter may be, where it is not any text.
QJsonObject querySchema(const QString &name)
{
    static const std::map<QString, QJsonObject> rows{
        {"wait", {{"type", "string"}, {"enum", QJsonArray{"0", "1"}}}},
        {"force", {{"type", "string"}, {"enum", QJsonArray{"0", "1"}}}},
        {"offset", {{"type", "integer"}, {"minimum", 0}}},
        {"limit", {{"type", "integer"}, {"minimum", 0}, {"maximum", 1000}}},
        {"columns", {{"type", "integer"}, {"minimum", 1}, {"maximum", QmxClipWaveform::mostColumns}}},
        {"order", {{"type", "string"}, {"enum", QJsonArray{"asc", "desc"}}}},
        {"sort",
         {{"type", "string"}, {"enum", QJsonArray{"index", "name", "frames", "date", "duration", "size"}}}},
    };
    const auto row = rows.find(name);
    return row == rows.end() ? QJsonObject{{"type", "string"}} : row->second;
}

QJsonArray parametersOf(const RouteRow &row)
{
    QJsonArray list;
    for (const QString &part : QString::fromLatin1(row.path).split('/'))
        if (part.startsWith('{'))
            list.append(parameter(part.mid(1, part.size() - 2), "path", true, {{"type", "string"}}, {}));
    for (const QString &name : QString::fromLatin1(row.query).split(' ', Qt::SkipEmptyParts))
        list.append(parameter(name, "query", false, querySchema(name), {}));
    return list;
}

QString addressOf(const RouteRow &row)
{
    const QString path = QString::fromLatin1(row.path);
    return path.startsWith('/') ? path : "/api/v1/" + path;
}

/// A verb has an address of its own, with its own arguments.
void addVerbs(QJsonObject &paths, const RouteRow &row)
{
    for (const VerbRow &verb : verbs()) {
        RouteRow own = row;
        own.summary = verb.help;
        QJsonArray parameters;
        for (const VerbArgument &argument : verb.arguments)
            if (!argument.isForShellOnly)
                parameters.append(parameter(QString::fromLatin1(argument.name), "query", argument.isRequired,
                                            schemaOf(argument), QString::fromUtf8(argument.help)));
        for (const char *option : {"wait", "force"})
            parameters.append(parameter(QString::fromLatin1(option), "query", false,
                                        querySchema(QString::fromLatin1(option)), {}));
        paths["/api/v1/transport/" + QString::fromLatin1(verb.name)] = QJsonObject{
            {"post", operation(own, parameters, reference("answer"), QString::fromLatin1(verb.name))}};
    }
}

QJsonObject stateSchema()
{
    QJsonObject properties;
    for (const DeckField &field : deckFields()) {
        QJsonObject schema{{"description", field.help}};
        const bool isNullable = qstrcmp(field.type, "object") == 0;
        schema["type"] = isNullable ? QJsonValue(QJsonArray{"object", "null"}) : QJsonValue(field.type);
        if (qstrcmp(field.type, "array") == 0) schema["items"] = QJsonObject{{"type", "object"}};
        if (*field.unit) schema["x-unit"] = field.unit;
        properties[QLatin1String(field.name)] = schema;
    }
    properties["revision"] = QJsonObject{{"type", "integer"}, {"description", "counts up with every change"}};
    QJsonArray required;
    for (const QString &name : properties.keys())
        required.append(name);
    return {{"type", "object"}, {"properties", properties}, {"required", required}};
}

QJsonObject schemas()
{
    QJsonArray codes;
    for (const AnswerCodeRow &row : answerCodes())
        codes.append(row.code);
    const QJsonObject text{{"type", "string"}};
    return {{"state", stateSchema()},
            {"answer", QJsonObject{{"type", "object"},
                                   {"properties", QJsonObject{{"answer", QJsonObject{{"const", "done"}}},
                                                              {"code", QJsonObject{{"enum", codes}}},
                                                              {"sentence", text},
                                                              {"effect", QJsonObject{{"type", "object"}}},
                                                              {"state", reference("state")}}},
                                   {"required", QJsonArray{"answer", "code", "state"}}}},
            {"problem", QJsonObject{{"type", "object"},
                                    {"properties", QJsonObject{{"type", text},
                                                               {"title", text},
                                                               {"status", QJsonObject{{"type", "integer"}}},
                                                               {"code", text},
                                                               {"detail", text},
                                                               {"hint", text},
                                                               {"answer", text}}},
                                    {"required", QJsonArray{"type", "title", "status", "code", "detail"}}}}};
}
} // namespace

void getOpenApi(Panel &, const HttpCall &, Respond respond)
{
    QJsonObject paths;
    for (const RouteRow &row : routes()) {
        if (row.handle == postVerb) {
            addVerbs(paths, row);
            continue;
        }
        const QString method = QString::fromLatin1(row.method).toLower();
        const QString id =
            method + '_' +
            QString::fromLatin1(row.path).remove('/').replace('{', '_').remove('}').replace('.', '_');
        QJsonObject item = paths[addressOf(row)].toObject();
        QJsonObject one =
            operation(row, parametersOf(row),
                      row.handle == getState ? reference("state") : QJsonObject{{"type", "object"}}, id);
        if (row.handle == putParameter || row.handle == putList || row.handle == postLogin)
            one["requestBody"] = QJsonObject{{"required", true},
                                             {"content", content("application/json", {{"type", "object"}})}};
        item[method] = one;
        paths[addressOf(row)] = item;
    }
    respond(jsonReply(
        {{"openapi", "3.1.0"},
         {"info", QJsonObject{{"title", "Video recorder"},
                              {"version", recorderVersion()},
                              {"license", QJsonObject{{"name", "GPL-3.0-or-later"},
                                                      {"identifier", "GPL-3.0-or-later"}}}}},
         {"servers", QJsonArray{QJsonObject{{"url", "/"}}}},
         {"paths", paths},
         {"components",
          QJsonObject{{"schemas", schemas()},
                      {"securitySchemes",
                       QJsonObject{{"token", QJsonObject{{"type", "http"}, {"scheme", "bearer"}}}}}}}}));
}
