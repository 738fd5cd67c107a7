// The base of the resource objects. The list functions are templates in the header, so that the
// ends of a list have the type of its items.

#include "resource/T_resource_item.h"

T_resource_item::T_resource_item(T_resource_kind kind, T_resource_item *parent)
    : kind(kind), parent(parent) {}

T_resource_item::~T_resource_item() = default;
