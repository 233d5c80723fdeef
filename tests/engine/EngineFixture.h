#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "automation/ClassRegistry.h"
#include "automation/Convert.h"
#include "automation/MemberTable.h"
#include "automation/Object.h"
#include "core/Error.h"
#include "engine/Engine.h"
#include "jet/Check.h"
#include "platform/Platform.h"
#include "support/GenuineFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {

inline constexpr TextView dutchLocale = u";LANGID=0x0413;CP=1252;COUNTRY=0";

/// An engine of its own, reached as hosts reach it: by class name, every member by name.
class EngineTest : public testing::Test
{
protected:
    EngineTest() : EngineTest(nullptr) {}
    /// @param files  a port that fails, say; the platform's own when null
    explicit EngineTest(Files* files)
        : platform_{files ? *files : Platform().files, Platform().system, Platform().desktop, Platform().registry,
                    Platform().processes}
    {
        RegisterEngine(classes_, platform_, folder_.Path() + u"\\");
    }

    static vmlib::Platform& Platform() { return NativePlatform(); }

    ObjectRef Engine()
    {
        if (!engine_) engine_ = classes_.Create(u"VMDEngine.DBEngine");
        return engine_;
    }
    /// Drops the engine and all that it holds open; the next use makes a new one.
    void DropEngine() { engine_.reset(); }
    ObjectRef Workspace() { return ToObject(Get(Engine(), u"Workspaces", 0)); }

    ObjectRef Create(TextView name, TextView extra = {})
    {
        return ToObject(Call(Workspace(), u"CreateDatabase", folder_.Path(name), Text(dutchLocale) + Text(extra)));
    }
    ObjectRef Open(TextView name, bool exclusive = false, bool readOnly = false, TextView password = {})
    {
        const Text connect = password.empty() ? Text() : u";PWD=" + Text(password);
        return ToObject(Call(Workspace(), u"OpenDatabase", folder_.Path(name), exclusive, readOnly, connect));
    }
    /// A copy of a genuine file in the test's folder, opened.
    ObjectRef OpenCopy(const std::filesystem::path& genuine, TextView name)
    {
        folder_.Write(ToUtf8(name), ReadNative(genuine));
        return Open(name);
    }

    static ObjectRef Records(const ObjectRef& database, TextView sql, std::optional<std::int32_t> type = std::nullopt)
    {
        if (!type) return ToObject(Call(database, u"OpenRecordset", sql));
        return ToObject(Call(database, u"OpenRecordset", sql, *type));
    }
    static Variant Field(const ObjectRef& recordset, TextView name)
    {
        return Get(ToObject(Get(recordset, u"Fields", name)), u"Value");
    }
    static void Execute(const ObjectRef& database, TextView sql, std::int32_t options = 0)
    {
        Call(database, u"Execute", sql, options);
    }
    static std::int32_t Affected(const ObjectRef& database) { return ToLong(Get(database, u"RecordsAffected")); }

    /// A table of fields "name type size" made through the objects.
    struct FieldSpec
    {
        TextView name;
        std::int32_t type;
        std::int32_t size = 0;
        std::int32_t attributes = 0;
        bool allowZeroLength = false;
    };
    static void MakeTable(const ObjectRef& database, TextView name, const std::vector<FieldSpec>& fields)
    {
        const ObjectRef table = ToObject(Call(database, u"CreateTableDef", name));
        for (const auto& spec : fields) {
            const ObjectRef field = ToObject(Call(table, u"CreateField", spec.name));
            Put(field, u"Type", spec.type);
            Put(field, u"Size", spec.size);
            Put(field, u"Attributes", spec.attributes);
            if (spec.type == 10 || spec.type == 12) Put(field, u"AllowZeroLength", spec.allowZeroLength);
            Call(ToObject(Get(table, u"Fields")), u"Append", field);
        }
        Call(ToObject(Get(database, u"TableDefs")), u"Append", table);
    }
    static void MakeIndex(const ObjectRef& database, TextView table, TextView name, TextView fields, bool primary,
                          bool unique)
    {
        const ObjectRef tableDef = ToObject(Get(database, u"TableDefs", table));
        const ObjectRef index = ToObject(Call(tableDef, u"CreateIndex", name));
        Put(index, u"Fields", fields);
        Put(index, u"Primary", primary);
        Put(index, u"Unique", unique);
        Call(ToObject(Get(tableDef, u"Indexes")), u"Append", index);
    }
    static void MakeRelation(const ObjectRef& database, TextView name, TextView table, TextView field,
                             TextView foreignTable, TextView foreignField, std::int32_t attributes)
    {
        const ObjectRef relation = ToObject(Call(database, u"CreateRelation", name));
        Put(relation, u"Table", table);
        Put(relation, u"ForeignTable", foreignTable);
        Put(relation, u"Attributes", attributes);
        const ObjectRef key = ToObject(Call(relation, u"CreateField", field));
        Put(key, u"ForeignName", foreignField);
        Call(ToObject(Get(relation, u"Fields")), u"Append", key);
        Call(ToObject(Get(database, u"Relations")), u"Append", relation);
    }

    /// All rows of a query as text, fields joined by "|", Null as "-", rows in their order.
    static std::vector<std::string> Rows(const ObjectRef& database, TextView sql, std::int32_t type = 4)
    {
        std::vector<std::string> rows;
        const ObjectRef records = Records(database, sql, type);
        const std::int32_t count = ToLong(Get(ToObject(Get(records, u"Fields")), u"Count"));
        for (; !ToBoolean(Get(records, u"EOF")); Call(records, u"MoveNext")) {
            std::string row;
            for (std::int32_t i = 0; i < count; ++i) {
                const Variant value = Get(ToObject(Get(records, u"Fields", i)), u"Value");
                row += (i > 0 ? "|" : "") + (value.IsNull() ? std::string("-") : ToUtf8(ToText(value)));
            }
            rows.push_back(row);
        }
        Call(records, u"Close");
        return rows;
    }

    /// What the strict check of the closed file finds wrong with it.
    std::vector<std::string> FaultsOf(TextView name)
    {
        jet::Workspace workspace(Platform().files, folder_.Path() + u"\\", [] { return Date{}; });
        const auto database = workspace.Open(folder_.Path(name), {.readOnly = true});
        return jet::Check(*database).faults;
    }

    /// The number of the error that the step raises; 0 when it raises none.
    template <class Step>
    static std::int32_t ErrorOf(Step&& step)
    {
        try {
            step();
        } catch (const Error& error) {
            return error.Number();
        }
        return 0;
    }

    TemporaryFolder folder_;

private:
    vmlib::Platform platform_;
    ClassRegistry classes_;
    ObjectRef engine_;
};

}  // namespace vmlib::test
