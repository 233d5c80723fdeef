#include "sql/Scope.h"

#include <algorithm>

#include "core/Error.h"

namespace vmlib::sql {

std::optional<std::size_t> Scope::SourceNamed(TextView name) const
{
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        if (EqualIgnoringCase(sources_[i].name, name)) return i;
    }
    return std::nullopt;
}

std::optional<Scope::Found> Scope::FindHere(TextView qualifier, TextView name) const
{
    std::optional<Found> found;
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        if (!qualifier.empty() && !EqualIgnoringCase(sources_[i].name, qualifier)) continue;
        for (const ScopeColumn& column : sources_[i].columns) {
            if (!EqualIgnoringCase(column.name, name)) continue;
            if (found) throw Error(ErrorNumber::AmbiguousField, {Text(name)});
            found = Found{&column, i, false};
            if (equal_ == Equal::FirstWins) return found;
            break;
        }
    }
    return found;
}

std::optional<Scope::Found> Scope::Find(TextView qualifier, TextView name) const
{
    for (const Scope* scope = this; scope != nullptr; scope = scope->outer_) {
        if (auto found = scope->FindHere(qualifier, name)) {
            found->outer = scope != this;
            return found;
        }
    }
    return std::nullopt;
}

std::string TranslationState::NewAlias(char letter)
{
    constexpr std::size_t mostAliases = 5000;
    if (++aliases > mostAliases) throw Error(ErrorNumber::QueryTooComplex);
    return letter + std::to_string(aliases);
}

std::string TranslationState::Derived(std::string sql, bool inPlace)
{
    if (inPlace) return "(" + std::move(sql) + ")";
    std::string name = NewAlias('q');
    commonTables.push_back(name + " AS (" + std::move(sql) + ")");
    return name;
}

std::string TranslationState::Complete(std::string sql) const
{
    std::string whole;
    for (const std::string& table : commonTables) whole += (whole.empty() ? "WITH " : ", ") + table;
    return whole.empty() ? sql : whole + ' ' + std::move(sql);
}

Typed TranslationState::Parameter(TextView qualifier, TextView name)
{
    const Text whole = qualifier.empty() ? Text(name) : Text(qualifier) + u"!" + Text(name);
    if (schema == nullptr) throw Error(ErrorNumber::BadExpressionName, {whole});
    std::size_t position = 0;
    while (position < parameters.size() && !EqualIgnoringCase(parameters[position].name, whole)) ++position;
    if (declaredOnly && (position == parameters.size() || !parameters[position].declared))
        throw Error(ErrorNumber::BadExpressionName, {whole});
    if (position == parameters.size()) AddParameter({whole, ValueType::Value, false});
    Typed result;
    result.sql = "?" + std::to_string(position + 1);
    result.type = parameters[position].type;
    return result;
}

void TranslationState::AddParameter(ParameterUse parameter)
{
    constexpr std::size_t mostParameters = 1000;
    if (parameters.size() == mostParameters) throw Error(ErrorNumber::QueryTooComplex);
    parameters.push_back(std::move(parameter));
}

void TranslationState::DeclareParameters(const std::vector<ParameterDeclaration>& declarations)
{
    for (const ParameterDeclaration& declaration : declarations) {
        const ParameterUse use{ParameterName(declaration.name), declaration.type, true};
        const auto known = std::find_if(parameters.begin(), parameters.end(), [&](const ParameterUse& other) {
            return EqualIgnoringCase(other.name, use.name);
        });
        if (known == parameters.end()) AddParameter(use);
    }
}

Text ParameterName(TextView written)
{
    Text name;
    for (const char16_t character : written) {
        if (character == u'.')
            name += u'!';
        else if (character != u'[' && character != u']')
            name += character;
    }
    return name;
}

}  // namespace vmlib::sql
