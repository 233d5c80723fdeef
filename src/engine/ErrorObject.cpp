#include "engine/ErrorObject.h"

namespace vmlib::engine {

const MemberTable& ErrorObject::Members()
{
    static const MemberTable table = MemberTable::Of<ErrorObject>(u"Error")
                                         .Property<&ErrorObject::Number>(u"Number")
                                         .DefaultProperty<&ErrorObject::Description>(u"Description")
                                         .Property<&ErrorObject::Source>(u"Source")
                                         .Property<&ErrorObject::HelpFile>(u"HelpFile")
                                         .Property<&ErrorObject::HelpContext>(u"HelpContext");
    return table;
}

std::int32_t ErrorObject::HelpContext() const
{
    constexpr std::int32_t firstHelpContext = 5000000;
    return firstHelpContext + error_.Number();
}

std::vector<std::shared_ptr<ErrorObject>> ErrorObjects::Load()
{
    std::vector<std::shared_ptr<ErrorObject>> errors;
    for (const Error& error : TheSession()->LastErrors())
        errors.push_back(std::make_shared<ErrorObject>(TheSession(), error));
    return errors;
}

}  // namespace vmlib::engine
