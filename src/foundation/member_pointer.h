// foundation/member_pointer.h - class and type of a field by a pointer to it, for tables of fields.
#pragma once

template <class M>
struct SMember;
template <class C, class F>
struct SMember<F C::*> {
    using Owner = C;
    using Field = F;
};

// The class that the field belongs to, and the type of the field.
template <auto kMember>
using OwnerOf = typename SMember<decltype(kMember)>::Owner;
template <auto kMember>
using FieldOf = typename SMember<decltype(kMember)>::Field;
