// The base of the resource objects. The list functions are templates in the header, so that the
// ends of a list have the type of its items.

#include "resource/T_resource_item.h"

T_resource_item::T_resource_item(T_resource_item **first, T_resource_item **last,
                                 T_resource_item *parent)
    : T_resource_item(RESOURCE_KIND_ITEM, this, first, last, parent) {}

T_resource_item::~T_resource_item() = default;
