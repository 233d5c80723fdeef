#pragma once

#include "engine/Collections.h"

namespace vmlib::engine {

/// One error of the last failing operation.
class ErrorObject : public EngineObject<ErrorObject>
{
public:
    ErrorObject(SessionRef session, Error error) : EngineObject(std::move(session)), error_(std::move(error)) {}
    static const MemberTable& Members();

    Text Name() const { return error_.Description(); }
    std::int32_t Number() const { return error_.Number(); }
    Text Description() const { return error_.Description(); }
    Text Source() const { return error_.Source(); }
    Text HelpFile() const { return {}; }
    std::int32_t HelpContext() const;

private:
    Error error_;
};

/// The Errors collection: what the last failing operation left.
class ErrorObjects : public ListOf<ErrorObject>
{
public:
    explicit ErrorObjects(SessionRef session) : ListOf(std::move(session), u"Errors") {}

protected:
    std::vector<std::shared_ptr<ErrorObject>> Load() override;
};

}  // namespace vmlib::engine
