// velm/store.h: to keep objects in a single file and find them again. The store, its objects with
// their properties, CAD identifiers as their names.
#pragma once

#include "velm/measure/cad_object_id.h"
#include "velm/measure/named_database_object.h"
#include "velm/store/database.h"
#include "velm/store/database_property.h"
#include "velm/store/db_object.h"
#include "velm/store/object_database.h"
#include "velm/store/store_check.h"
#include "velm/store/store_salvage.h"
