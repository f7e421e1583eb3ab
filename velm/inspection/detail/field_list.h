// FieldList: how the descriptions of an inspection's heads, rows and parts are written, one line a
// field.
//
//     using F = FieldList<SectionRow>;
//     static constexpr Field fields[] = {
//         F::field<&SectionRow::id>("id", {.shown = Shown::in_tables, .archive = 1}),
//         F::field<&SectionRow::comparison, &OutlineComparison::foot>("foot", {...}),
//         F::derived<FieldType::number>("radius", {...}, [](const SectionRow& row) { ... }),
//     };
//
// The type of a value follows from the member: an std::optional may have none. A path of members
// leads through an optional part; without the part there is no value, and assigning makes it.
#pragma once

#include "velm/inspection/field.h"

#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

namespace velm::detail {

/// How a member of type T is a value of a field: its type, and both ways. The general case has a
/// description of its own.
template <class T>
struct ValueForm {
    static constexpr FieldType type = FieldType::group;
    static FieldValue value(const T& member) { return describe(member); }
};

template <class T, FieldType field_type>
struct PlainForm {
    static constexpr FieldType type = field_type;
    static FieldValue value(const T& member) { return member; }
    static bool assign(T& member, const FieldValue& value) {
        const T* const given = std::get_if<T>(&value);
        if (given == nullptr) return false;
        member = *given;
        return true;
    }
};
template <>
struct ValueForm<bool> : PlainForm<bool, FieldType::truth> {};
template <>
struct ValueForm<double> : PlainForm<double, FieldType::number> {};
template <>
struct ValueForm<std::uint64_t> : PlainForm<std::uint64_t, FieldType::total> {};

template <>
struct ValueForm<int> {
    static constexpr FieldType type = FieldType::count;
    static FieldValue value(int member) { return static_cast<std::uint64_t>(member); }
    static bool assign(int& member, const FieldValue& value) {
        const std::uint64_t* const given = std::get_if<std::uint64_t>(&value);
        if (given == nullptr || *given > std::numeric_limits<int>::max()) return false;
        member = static_cast<int>(*given);
        return true;
    }
};

template <>
struct ValueForm<std::string> {
    static constexpr FieldType type = FieldType::text;
    static FieldValue value(const std::string& member) { return std::string_view(member); }
    static bool assign(std::string& member, const FieldValue& value) {
        const std::string_view* const given = std::get_if<std::string_view>(&value);
        if (given != nullptr) member = *given;
        return given != nullptr;
    }
};

template <>
struct ValueForm<std::vector<std::string>> {
    static constexpr FieldType type = FieldType::texts;
    static FieldValue value(const std::vector<std::string>& member) {
        return std::span<const std::string>(member);
    }
    static bool assign(std::vector<std::string>& member, const FieldValue& value) {
        const auto* const given = std::get_if<std::span<const std::string>>(&value);
        if (given != nullptr) member.assign(given->begin(), given->end());
        return given != nullptr;
    }
};

template <>
struct ValueForm<std::vector<NamedText>> {
    static constexpr FieldType type = FieldType::named_texts;
    static FieldValue value(const std::vector<NamedText>& member) {
        return std::span<const NamedText>(member);
    }
    static bool assign(std::vector<NamedText>& member, const FieldValue& value) {
        const auto* const given = std::get_if<std::span<const NamedText>>(&value);
        if (given != nullptr) member.assign(given->begin(), given->end());
        return given != nullptr;
    }
};

/// An enumeration has a table of its names, choice_names(Enumeration), in the order of its numbers
/// from 0.
template <class T>
requires std::is_enum_v<T>
struct ValueForm<T> {
    static constexpr FieldType type = FieldType::choice;
    static FieldValue value(T member) {
        const auto number = static_cast<std::size_t>(member);
        return NamedValue{static_cast<int>(number), choice_names(T{})[number]};
    }
    static bool assign(T& member, const FieldValue& value) {
        const NamedValue* const given = std::get_if<NamedValue>(&value);
        const auto names = choice_names(T{});
        if (given == nullptr || given->number < 0 ||
            static_cast<std::size_t>(given->number) >= names.size())
            return false;
        member = static_cast<T>(given->number);
        return true;
    }
};

/// Points and vectors by their coordinates.
template <class T, int size, FieldType field_type>
struct TupleForm {
    static constexpr FieldType type = field_type;
    static FieldValue value(const T& member) {
        Coordinates coordinates{{}, size};
        for (int i = 0; i < size; ++i)
            coordinates.values[static_cast<std::size_t>(i)] = member[i];
        return coordinates;
    }
    static bool assign(T& member, const FieldValue& value) {
        const Coordinates* const given = std::get_if<Coordinates>(&value);
        if (given == nullptr || given->size != size) return false;
        for (int i = 0; i < size; ++i)
            member[i] = given->values[static_cast<std::size_t>(i)];
        return true;
    }
};
template <>
struct ValueForm<ERPoint2D> : TupleForm<ERPoint2D, 2, FieldType::point2> {};
template <>
struct ValueForm<ERPoint3D> : TupleForm<ERPoint3D, 3, FieldType::point3> {};
template <>
struct ValueForm<ERVector2D> : TupleForm<ERVector2D, 2, FieldType::vector2> {};
template <>
struct ValueForm<ERVector3D> : TupleForm<ERVector3D, 3, FieldType::vector3> {};

template <class T>
inline constexpr bool is_optional = false;
template <class T>
inline constexpr bool is_optional<std::optional<T>> = true;

template <class T>
struct Unwrapped {
    using Type = T;
};
template <class T>
struct Unwrapped<std::optional<T>> {
    using Type = T;
};

/// The member at the end of a path; null where an optional part on the way is absent.
template <auto First, auto... Rest, class Subject>
auto find_member(Subject& subject) {
    auto& member = subject.*First;
    using Member = std::remove_cvref_t<decltype(member)>;
    if constexpr (sizeof...(Rest) == 0) {
        return &member;
    } else if constexpr (is_optional<Member>) {
        using End = decltype(find_member<Rest...>(*member));
        return member ? find_member<Rest...>(*member) : End{};
    } else {
        return find_member<Rest...>(member);
    }
}

/// The same, absent parts on the way being made.
template <auto First, auto... Rest, class Subject>
auto& make_member(Subject& subject) {
    auto& member = subject.*First;
    if constexpr (sizeof...(Rest) == 0) {
        return member;
    } else if constexpr (is_optional<std::remove_cvref_t<decltype(member)>>) {
        if (!member) member.emplace();
        return make_member<Rest...>(*member);
    } else {
        return make_member<Rest...>(member);
    }
}

template <class T>
concept Owned = requires {
    typename T::Head;
};

template <class Subject>
struct HeadOf {
    using Type = Subject;
};
template <Owned Subject>
struct HeadOf<Subject> {
    using Type = typename Subject::Head;
};

template <class Subject>
struct FieldList {
    using Head = typename HeadOf<Subject>::Type;
    using Condition = bool (*)(const void*);

    /// A member of the subject, or of a part of it.
    template <auto... Path>
    static constexpr Field field(std::string_view name, FieldTraits traits,
                                 Condition condition = nullptr) {
        using Member =
            std::remove_cvref_t<decltype(make_member<Path...>(std::declval<Subject&>()))>;
        using Form = ValueForm<typename Unwrapped<Member>::Type>;
        Field made;
        static_cast<FieldTraits&>(made) = traits;
        made.name = name;
        made.type = Form::type;
        made.optional = is_optional<Member>;
        made.value = value_of<Path...>;
        made.condition = condition;
        if constexpr (Form::type == FieldType::group) {
            made.part = part_of<Path...>;
            made.part_fields = fields_of<typename Unwrapped<Member>::Type>;
        } else {
            made.assign = assign_to<Path...>;
        }
        return made;
    }

    /// What follows from a subject, by get(subject) or get(subject, head): a FieldValue, or
    /// anything that becomes one.
    template <FieldType type, class Get>
    static constexpr Field derived(std::string_view name, FieldTraits traits, Get,
                                   Condition condition = nullptr) {
        Field made;
        static_cast<FieldTraits&>(made) = traits;
        made.name = name;
        made.type = type;
        made.value = [](const void* subject, const void* head) -> FieldValue {
            const Subject& of = *static_cast<const Subject*>(subject);
            if constexpr (std::is_invocable_v<Get, const Subject&>)
                return as_value(Get{}(of));
            else
                return as_value(Get{}(of, *static_cast<const Head*>(head)));
        };
        made.condition = condition;
        return made;
    }
    /// The same with set(subject, value), which returns whether the value is possible.
    template <FieldType type, class Get, class Set>
    static constexpr Field property(std::string_view name, FieldTraits traits, Get get, Set,
                                    Condition condition = nullptr) {
        Field made = derived<type>(name, traits, get, condition);
        made.assign = [](void* subject, const FieldValue& value) -> bool {
            return Set{}(*static_cast<Subject*>(subject), value);
        };
        return made;
    }

    /// A field whose value reports don't show where is_void(subject).
    template <class IsVoid>
    static constexpr Field unless(Field field, IsVoid) {
        field.is_void = [](const void* subject) -> bool {
            return IsVoid{}(*static_cast<const Subject*>(subject));
        };
        return field;
    }

    /// Conditions: whether the head has an optional part.
    template <auto Member>
    static bool given(const void* head) {
        return (static_cast<const Head*>(head)->*Member).has_value();
    }
    template <auto Member>
    static bool lacking(const void* head) {
        return !given<Member>(head);
    }

private:
    template <class T>
    static FieldValue as_value(const T& value) {
        if constexpr (std::is_same_v<T, FieldValue>)
            return value;
        else if constexpr (is_optional<T>)
            return value ? ValueForm<typename Unwrapped<T>::Type>::value(*value) : FieldValue();
        else if constexpr (std::is_constructible_v<FieldValue, std::in_place_type_t<T>, T>)
            return FieldValue(std::in_place_type<T>, value);
        else
            return ValueForm<T>::value(value);
    }
    template <auto... Path>
    static FieldValue value_of(const void* subject, const void*) {
        const auto* const member = find_member<Path...>(*static_cast<const Subject*>(subject));
        if (member == nullptr) return {};
        using Member = std::remove_cvref_t<decltype(*member)>;
        if constexpr (is_optional<Member>)
            return *member ? ValueForm<typename Unwrapped<Member>::Type>::value(**member)
                           : FieldValue();
        else
            return ValueForm<Member>::value(*member);
    }
    template <auto... Path>
    static bool assign_to(void* subject, const FieldValue& value) {
        auto& member = make_member<Path...>(*static_cast<Subject*>(subject));
        using Member = std::remove_cvref_t<decltype(member)>;
        if constexpr (is_optional<Member>) {
            typename Unwrapped<Member>::Type given{};
            if (std::holds_alternative<std::monostate>(value)) {
                member.reset();
                return true;
            }
            if (!ValueForm<typename Unwrapped<Member>::Type>::assign(given, value)) return false;
            member = given;
            return true;
        } else {
            return ValueForm<Member>::assign(member, value);
        }
    }
    template <auto... Path>
    static void* part_of(void* subject) {
        auto& member = make_member<Path...>(*static_cast<Subject*>(subject));
        if constexpr (is_optional<std::remove_cvref_t<decltype(member)>>)
            return &(member ? *member : member.emplace());
        else
            return &member;
    }
};

} // namespace velm::detail
