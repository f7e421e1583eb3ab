"""GDB pretty printers for velm's values, arrays, strings, counted pointers and objects.

    (gdb) source share/gdb/velm_printers.py

or a line like that in ~/.gdbinit. Where velm is installed, GDB loads them by itself once the
library's folder is on its safe path:  add-auto-load-safe-path /usr/local/lib

They read memory only and call nothing in the program, so they work on core files too.
"""
import gdb
import gdb.printing

LARGEST_DOUBLE = 1.7976931348623157e308
COORDINATES = {
    "ERPoint2D": "({x_}, {y_})",
    "ERPoint3D": "({x_}, {y_}, {z_})",
    "ERVector2D": "<{i_}, {j_}>",
    "ERVector3D": "<{i_}, {j_}, {k_}>",
    "ERPole2DH": "({x_}, {y_}) weight {weight}",
    "ERPole3DH": "({x_}, {y_}, {z_}) weight {weight}",
    "ERLimites": "[{start_}, {end_}]",
    "ERRadian": "{radians} rad",
}


def class_name(value):
    """The name of the class, without template arguments."""
    return (value.type.strip_typedefs().unqualified().name or "").split("<")[0]


def is_static(field):
    """Whether a field is a static member, which has no place in the value."""
    return not hasattr(field, "bitpos")


def number(value):
    """The shortest text that reads back to the same double."""
    return repr(float(value)).removesuffix(".0")


def derives_from(kind, name):
    return kind.name == name or any(
        derives_from(field.type, name) for field in kind.fields() if field.is_base_class)


def references(counted):
    """What ERReference::references() would return: the word holds one less."""
    word = counted.cast(gdb.lookup_type("ERReference"))["count"]
    return int(word["_M_i"]) + 1


def as_its_class(value):
    """An object as the class it was made as."""
    return value.cast(value.dynamic_type)


class Coordinates:
    """Points, vectors, poles, intervals and angles, on one line."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        fields = {field.name: number(self.value[field])
                  for field in self.value.type.strip_typedefs().fields()
                  if not field.is_base_class and not is_static(field)}
        return COORDINATES[class_name(self.value)].format(**fields)


class Box:
    """ERMinimax2D and ERMinimax3D: "empty", or an interval for each axis."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        if float(self.value["xmin"]) == LARGEST_DOUBLE:
            return "empty"
        axes = "xyz" if class_name(self.value) == "ERMinimax3D" else "xy"
        return " x ".join(f"[{number(self.value[axis + 'min'])}, {number(self.value[axis + 'max'])}]"
                          for axis in axes)


class Array:
    """ERSimpleVec, ERSimpleVec2, ERVec and ERMatrix: shape, sharing, and the elements."""

    def __init__(self, value):
        self.value = value
        self.first = value["elements_"]
        body = gdb.lookup_type("ERVecRep").pointer()
        self.body = (self.first.cast(body) - 1).dereference()
        self.size = int(self.body["length_"]) // self.first.dereference().type.sizeof

    def to_string(self):
        name = str(self.value.type.strip_typedefs().unqualified()).removeprefix("QuickAlgebra::")
        shape = f"{self.size}"
        if class_name(self.value) in ("ERSimpleVec2", "QuickAlgebra::ERMatrix"):
            shape = f"{int(self.value['rows_'])} x {int(self.value['columns_'])}"
        owners = references(self.body)
        shared = f", body shared by {owners}" if owners > 1 and self.size > 0 else ""
        return f"{name} of {shape}{shared}"

    def children(self):
        for i in range(self.size):
            yield f"[{i}]", (self.first + i).dereference()

    def display_hint(self):
        return "array"


class String:
    """ERCString: the characters, which lie behind the header of the body."""

    def __init__(self, value):
        self.body = value["body"]

    def to_string(self):
        characters = (self.body + 1).cast(gdb.lookup_type("char").pointer())
        return characters.lazy_string(length=int(self.body["length"]))

    def display_hint(self):
        return "string"


class SmartPointer:
    """t_SmartPtr: the class of the object, its count and its address."""

    def __init__(self, value):
        self.value = value
        self.pointer = value["pointer"]

    def to_string(self):
        if int(self.pointer) == 0:
            return "t_SmartPtr, empty"
        held = self.pointer.dynamic_type.target().name
        return (f"t_SmartPtr to {held} at {int(self.pointer):#x}, "
                f"{references(self.pointer.dereference())} reference(s)")

    def children(self):
        if int(self.pointer) != 0:
            yield "object", as_its_class(self.pointer.dereference())


class Object:
    """Anything that derives from ERObject: the class that it was made as, its identity in a store,
    and the fields of each class down from the root."""

    HIDDEN = ("CObject", "ERReference", "ERObject")

    def __init__(self, value):
        self.value = as_its_class(value)

    def to_string(self):
        root = self.value.cast(gdb.lookup_type("ERObject"))
        stored = f", stored as {int(root['objectID'])}" if int(root["objectID"]) != -1 else ""
        return f"{self.value.type.name}{stored}"

    def children(self):
        yield from self.fields_of(self.value, set())

    def fields_of(self, value, seen):
        for field in value.type.fields():
            if field.is_base_class:
                if field.type.name in seen or field.type.name in self.HIDDEN:
                    continue
                seen.add(field.type.name)
                yield from self.fields_of(value.cast(field.type), seen)
            elif not is_static(field) and not field.name.startswith("_vptr"):
                yield field.name, value[field]


class Printers(gdb.printing.PrettyPrinter):
    """Chooses the printer by the name of the class or by its bases."""

    BY_NAME = {"ERMinimax2D": Box, "ERMinimax3D": Box, "ERSimpleVec": Array, "ERSimpleVec2": Array,
               "QuickAlgebra::ERVec": Array, "QuickAlgebra::ERMatrix": Array,
               "ERCString": String, "t_SmartPtr": SmartPointer,
               **{name: Coordinates for name in COORDINATES}}

    def __call__(self, value):
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        kind = value.type.strip_typedefs()
        if kind.code != gdb.TYPE_CODE_STRUCT or kind.name is None:
            return None
        printer = self.BY_NAME.get(class_name(value))
        if printer is None and derives_from(kind, "ERObject"):
            printer = Object
        return printer(value) if printer else None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers("velm"), replace=True)
