#include <gmock/gmock.h>

#include "AutomationSupport.h"
#include "automation/ClassRegistry.h"
#include "automation/Collection.h"
#include "automation/MemberTable.h"
#include "automation/ResumeNext.h"

namespace vmlib {
namespace {

class Field : public AutomationClass<Field>
{
public:
    static const MemberTable& Members()
    {
        static const MemberTable table = MemberTable::Of<Field>(u"Field")
                                             .Property<&Field::Name>(u"Name")
                                             .DefaultProperty<&Field::Value, &Field::SetValue>(u"Value");
        return table;
    }
    explicit Field(Text name = u"Versie") : name_(std::move(name)) {}
    const Text& Name() const { return name_; }
    Variant Value() const { return value_; }
    void SetValue(const Variant& value) { value_ = value; }

private:
    Text name_;
    Variant value_;
};

class Base : public Object
{
public:
    std::int32_t FromBase() const noexcept { return 7; }
};

// Has one member of each kind that a table can describe.
class Sample : public Base
{
public:
    static const MemberTable& Members();
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        return Members().Invoke(*this, member, kind, arguments);
    }
    Text TypeName() const override { return Members().TypeName(); }

    Text Describe(bool b, std::uint8_t y, std::int16_t i, std::int32_t l, float s, double d, Currency c, Date t,
                  const Text& text)
    {
        return ToText(b) + u" " + Decimal(y) + u" " + Decimal(i) + u" " + Decimal(l) + u" " + NumberToText(s) + u" " +
               NumberToText(d) + u" " + CurrencyToText(c) + u" " + DateToText(t) + u" " + text;
    }
    void Double(std::int32_t& number, Text& text, Variant& any)
    {
        number *= 2;
        text += text;
        any = u"changed";
        if (fails_) throw Error(ErrorNumber::Internal);
    }
    void FailAfterFirst(std::int32_t& first, std::int32_t& second)
    {
        first += 1;
        if (second >= 0) throw Error(ErrorNumber::Internal);
    }
    Text Options(const Text& required, Optional variant, std::optional<std::int32_t> number)
    {
        return required + (variant.Given() ? u" " + ToText(variant.value) : u"") +
               (number ? u" " + Decimal(*number) : u"");
    }
    void Fill(Optional& result)
    {
        if (result.Given()) result.value = u"filled";
    }
    bool IsField(const std::shared_ptr<Field>& field) { return field != nullptr; }
    bool IsSomething(ObjectRef object) { return object != nullptr; }
    Variant Indexed(std::int32_t index) const
    {
        return index < 0 ? Variant(Null{}) : Variant(cells_[static_cast<std::size_t>(index)]);
    }
    void SetIndexed(std::int32_t index, const Text& value) { cells_[static_cast<std::size_t>(index)] = value; }
    void SetSecret(Text value) { cells_[0] = std::move(value); }
    std::shared_ptr<Collection> Fields() const { return fields_; }
    ObjectRef Owner() const { return owner_; }
    void SetOwner(ObjectRef owner) { owner_ = std::move(owner); }
    std::vector<Variant> All() const { return {1, 2}; }
    void SetFails(bool fails) { fails_ = fails; }
    bool Fails() const { return fails_; }

    std::array<Text, 3> cells_{};
    ObjectRef owner_;
    std::shared_ptr<Collection> fields_ = std::make_shared<Collection>();

private:
    bool fails_ = false;
};

std::int32_t CellCount(const Sample& sample)
{
    return static_cast<std::int32_t>(sample.cells_.size());
}

const MemberTable& Sample::Members()
{
    static const MemberTable table =
        MemberTable::Of<Sample>(u"Sample")
            .Method<&Sample::Describe>(u"Describe", {u"B", u"Y", u"I", u"L", u"S", u"D", u"C", u"T", u"Text"})
            .Method<&Sample::Double>(u"Double", {u"Number", u"Text", u"Any"})
            .Method<&Sample::FailAfterFirst>(u"FailAfterFirst")
            .Method<&Sample::Options>(u"Options", {u"Required", u"Variant", u"Number"})
            .Method<&Sample::Fill>(u"Fill")
            .Method<&Sample::IsField>(u"IsField")
            .Method<&Sample::IsSomething>(u"IsSomething")
            .Method<&Sample::FromBase>(u"FromBase")
            .Method<&CellCount>(u"CellCount")
            .Property<&Sample::Indexed, &Sample::SetIndexed>(u"Indexed", {u"Index"})
            .Property<&Sample::Fails, &Sample::SetFails>(u"Fails")
            .Property<&Sample::Owner, &Sample::SetOwner>(u"Owner")
            .WriteOnly<&Sample::SetSecret>(u"Secret")
            .DefaultProperty<&Sample::Fields>(u"Fields")
            .Enumerator<&Sample::All>();
    return table;
}

class Binding : public ::testing::Test
{
protected:
    const std::shared_ptr<Sample> sample_ = std::make_shared<Sample>();
    const ObjectRef object_ = sample_;
};

TEST_F(Binding, ConvertsArgumentsToTheTypesOfTheSignature)
{
    EXPECT_EQ(Call(object_, u"DESCRIBE", u"1", 2.5, u"3", true, u"0.5", Currency{15000}, 2, 36526, 1.5),
              Variant(u"True 2 3 -1 0.5 1.5 2 1/1/2000 1.5"));
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Describe", true, 256, 0, 0, 0, 0, 0, 0, u""); }), 6);
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Describe", true, 1, 0, u"x", 0, 0, 0, 0, u""); }), 13);
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Describe", true, 1, 0, Null{}, 0, 0, 0, 0, u""); }), 94);
}

TEST_F(Binding, WritesByReferenceArgumentsBackWithTheirType)
{
    Variant number(u"21");
    Variant text(5);
    Variant any;
    Call(object_, u"Double", number, text, any);
    EXPECT_EQ(number, Variant(42));
    EXPECT_EQ(text, Variant(u"55"));
    EXPECT_EQ(any, Variant(u"changed"));
}

TEST_F(Binding, AMemberThatThrowsKeepsItsChangesAndNothingElse)
{
    Variant list[] = {Variant(u"1"), Variant(u"2")};
    EXPECT_EQ(ErrorOf([&] { CallWith(object_, u"FailAfterFirst", list); }), 51);
    EXPECT_EQ(list[0], Variant(2));
    EXPECT_EQ(list[1], Variant(u"2"));  // unchanged: not even its type

    Put(object_, u"Fails", true);
    Variant changed[] = {Variant(1), Variant(u"ab"), Variant()};
    EXPECT_EQ(ErrorOf([&] { CallWith(object_, u"Double", changed); }), 51);
    EXPECT_EQ(changed[1], Variant(u"abab"));
    EXPECT_EQ(changed[2], Variant(u"changed"));
}

TEST_F(Binding, OptionalArguments)
{
    EXPECT_EQ(Call(object_, u"Options", u"a"), Variant(u"a"));
    EXPECT_EQ(Call(object_, u"Options", u"a", 1), Variant(u"a 1"));
    EXPECT_EQ(Call(object_, u"Options", u"a", Variant::Missing(), u"2"), Variant(u"a 2"));
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Options"); }), 449);
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Options", Variant::Missing(), 1); }), 449);
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"Options", u"a", 1, 2, 3); }), 450);

    Variant result;
    Call(object_, u"Fill", result);
    EXPECT_EQ(result, Variant(u"filled"));
    Call(object_, u"Fill");

    // What was given stays with the caller where later arguments are left out.
    Variant list[] = {Variant(Text(100, u'x'))};
    CallWith(object_, u"Options", list);
    EXPECT_EQ(list[0], Variant(Text(100, u'x')));
}

TEST_F(Binding, ObjectArgumentsAreOfTheirClass)
{
    EXPECT_EQ(Call(object_, u"IsField", std::make_shared<Field>()), Variant(true));
    EXPECT_EQ(Call(object_, u"IsField", ObjectRef()), Variant(false));
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"IsField", object_); }), 13);
    EXPECT_EQ(ErrorOf([&] { Call(object_, u"IsField", 1); }), 13);
    EXPECT_EQ(Call(object_, u"IsSomething", object_), Variant(true));
}

TEST_F(Binding, MembersOfBasesAndFreeFunctions)
{
    EXPECT_EQ(Call(object_, u"FromBase"), Variant(7));
    EXPECT_EQ(Get(object_, u"CellCount"), Variant(3));
    EXPECT_EQ(Call(object_, u"Fails"), Variant(false));  // a property reached as a method
}

TEST_F(Binding, Properties)
{
    Put(object_, u"Indexed", 1, 5);
    EXPECT_EQ(Get(object_, u"indexed", u"1"), Variant(u"5"));
    Put(object_, u"Secret", u"s");
    EXPECT_EQ(sample_->cells_[0], u"s");
    EXPECT_EQ(ErrorOf([&] { Get(object_, u"Secret"); }), 394);
    EXPECT_EQ(ErrorOf([&] { Put(object_, u"Fields", 1); }), 383);
    EXPECT_EQ(ErrorOf([&] { Put(object_, u"FromBase", 1); }), 438);
    EXPECT_EQ(ErrorOf([&] { Get(object_, u"Fails", 1); }), 451);
    EXPECT_EQ(ErrorOf([&] { Get(object_, u"Unknown"); }), 438);
    EXPECT_EQ(ErrorOf([&] { Put(object_, u"Unknown", 1); }), 438);
    EXPECT_EQ(ErrorOf([&] { Get(ObjectRef(), u"Fails"); }), 91);
}

TEST_F(Binding, IndexesGoToTheDefaultMemberOfTheResult)
{
    const auto field = std::make_shared<Field>(u"Versie");
    Call(Get(object_, u"Fields").As<ObjectRef>(), u"Add", field, u"Versie");

    // sample.Fields("Versie"), sample("Versie"), and both as the target of an assignment
    EXPECT_EQ(Get(object_, u"Fields", u"VERSIE"), Variant(ObjectRef(field)));
    Put(object_, u"", u"versie", 8);
    EXPECT_EQ(field->Value(), Variant(8));
    Put(object_, u"Fields", 1, 9);
    EXPECT_EQ(ToLong(Get(object_, u"", 1)), 9);  // and the field gives its value
    EXPECT_EQ(ErrorOf([&] { Get(object_, u"Fields", u"Other"); }), 5);

    // A property that can be put itself is not put when indexes are given.
    Put(object_, u"Owner", sample_->fields_);
    Put(object_, u"Owner", u"versie", 10);
    EXPECT_EQ(field->Value(), Variant(10));
    EXPECT_EQ(ErrorOf([&] { Put(object_, u"Secret", 1, 2); }), 450);
    EXPECT_EQ(ErrorOf([&] { Put(object_, u"Fails", 1, 2); }), 451);
}

TEST_F(Binding, DefaultMembers)
{
    const ObjectRef field = std::make_shared<Field>();
    Put(field, u"", u"2,5");
    EXPECT_EQ(ToText(field), u"2,5");
    EXPECT_EQ(ToDouble(field), 25);
    EXPECT_TRUE(IsNumeric(field));
    EXPECT_EQ(ErrorOf([&] { ToText(Variant(object_)); }), 449);  // a collection's Item wants its index
}

TEST_F(Binding, EnumeratorGivesAnArray)
{
    EXPECT_THAT(Get(object_, u"_NewEnum").AsArray().Items(), ::testing::ElementsAre(Variant(1), Variant(2)));
}

TEST_F(Binding, TheTableTellsTheSignature)
{
    const MemberInfo* member = Sample::Members().Find(u"options", InvokeKind::MethodOrGet);
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->result, VarType::String);
    ASSERT_EQ(member->parameters.size(), 3U);
    EXPECT_EQ(member->parameters[0].name, u"Required");
    EXPECT_EQ(member->parameters[0].type, VarType::String);
    EXPECT_TRUE(member->parameters[1].optional);
    EXPECT_EQ(member->parameters[2].type, VarType::Long);

    member = Sample::Members().Find(u"Double", InvokeKind::Method);
    EXPECT_TRUE(member->parameters[0].byReference);
    EXPECT_EQ(member->result, VarType::Empty);

    member = Sample::Members().Find(u"Indexed", InvokeKind::Put);
    ASSERT_EQ(member->parameters.size(), 2U);
    EXPECT_EQ(member->parameters[1].name, u"Value");
    EXPECT_TRUE(Sample::Members().Find(u"_newenum", InvokeKind::Get)->hidden);
    EXPECT_TRUE(Sample::Members().Find(u"", InvokeKind::Get)->isDefault);
    EXPECT_EQ(Sample::Members().Find(u"Fields", InvokeKind::Put), nullptr);
}

TEST_F(Binding, ASkippedStepLeavesItsTarget)
{
    std::int32_t target = 5;
    const auto error = ResumeNext([&] { target = ToLong(Get(object_, u"Unknown")); });
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->Is(ErrorNumber::NoSuchMember));
    EXPECT_EQ(error->Source(), u"Sample.Unknown");
    EXPECT_EQ(target, 5);
}

std::vector<Variant> ItemsOf(const Collection& collection)
{
    return collection.NewEnum().AsArray().Items();
}

TEST(CollectionTest, PositionsAndKeys)
{
    Collection list;
    list.Add(u"b", Variant(u"Key"));
    list.Add(u"a", {}, Variant(1));
    list.Add(u"d", Variant(u"1"));
    list.Add(u"c", {}, {}, Variant(u"KEY"));
    EXPECT_THAT(ItemsOf(list), ::testing::ElementsAre(Variant(u"a"), Variant(u"b"), Variant(u"c"), Variant(u"d")));

    EXPECT_EQ(list.Item(2.5), Variant(u"b"));  // half to even
    EXPECT_EQ(list.Item(u"key"), Variant(u"b"));
    EXPECT_EQ(list.Item(u"1"), Variant(u"d"));  // text is a key, even "1"
    for (const int outside : {0, 5, -1}) EXPECT_EQ(ErrorOf([&] { list.Item(outside); }), 9);
    EXPECT_EQ(ErrorOf([&] { list.Item(u"2"); }), 5);

    list.Remove(1);
    list.Remove(u"KEY");
    EXPECT_THAT(ItemsOf(list), ::testing::ElementsAre(Variant(u"c"), Variant(u"d")));
    list.Add(u"again", Variant(u"Key"));
    EXPECT_EQ(list.Count(), 3);
}

TEST(CollectionTest, RefusesBadAdditionsWithoutChange)
{
    Collection list;
    list.Add(1, Variant(u"a"));
    EXPECT_EQ(ErrorOf([&] { list.Add(2, Variant(2)); }), 13);
    EXPECT_EQ(ErrorOf([&] { list.Add(2, Variant(u"A")); }), 457);
    EXPECT_EQ(ErrorOf([&] { list.Add(2, {}, Variant(1), Variant(1)); }), 5);
    EXPECT_EQ(ErrorOf([&] { list.Add(2, {}, Variant(2)); }), 9);
    EXPECT_EQ(ErrorOf([&] { list.Add(2, Variant(u"b"), {}, Variant(u"c")); }), 5);
    EXPECT_EQ(list.Count(), 1);
}

TEST(ClassRegistryTest, RegisteredClassesFirstThenTheSources)
{
    ClassRegistry registry;
    const ObjectRef registered = std::make_shared<Field>();
    const ObjectRef made = std::make_shared<Field>();
    registry.AddSource([&](TextView name) { return name == u"Other.Class" || name == u"My.Class" ? made : nullptr; });
    registry.Register(u"My.Class", [] { return ObjectRef(); });
    registry.Register(u"MY.CLASS", [&] { return registered; });
    EXPECT_EQ(registry.Create(u"my.class"), registered);
    EXPECT_EQ(registry.Create(u"Other.Class"), made);
    EXPECT_EQ(ErrorOf([&] { registry.Create(u"No.Class"); }), 429);
}

TEST(VariantTest, ArraysCompareByContent)
{
    EXPECT_EQ(Variant(Array(Bytes{1, 2})), Variant(Array(VarType::Byte, {{0, 2}}, {std::uint8_t{1}, std::uint8_t{2}})));
    EXPECT_FALSE(Variant(Array(Bytes{1})) == Variant(Array(std::vector<Variant>{std::uint8_t{1}})));
    EXPECT_FALSE(Variant(1) == Variant(1.0));
    EXPECT_EQ(static_cast<int>(Variant(Array(std::vector<Variant>{})).Type()), 8204);
    EXPECT_EQ(static_cast<int>(Variant(Array(Bytes{})).Type()), 0x2011);
}

}  // namespace
}  // namespace vmlib
