// ERDBObject: what a host knows about a geometric object.
#pragma once

#include "velm/export.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/store/database_property.h"

/// A table of properties, some under fixed keys, and a reference to the object they describe, if
/// there is one. Setting anything makes the record dirty.
class VELM_API ERDBObject : public ERObject {
    VELM_DECLARE_CLASS(ERDBObject)

    /// The fixed keys are stored and must never change. A host takes others.
    enum Key : long {
        color_key = 1,
        level_key = 2,
        name_key = 3,
        color_rgb_key = 4,
        level_name_key = 5,
        faults_key = 6
    };

    ERDBObject() = default;
    ERDBObject(ERDBObject const& other) = default;
    /// Leaves the store, shares the object and copies the properties.
    ERDBObject& operator=(ERDBObject const& other);

    /// Puts a property in the place of what the key had.
    ERDBObject& property(long key, int value);
    ERDBObject& property(long key, long value);
    ERDBObject& property(long key, double value);
    ERDBObject& property(long key, char const* text);
    ERDBObject& property(long key, unsigned long value);
    /// A key that is not there gives an undefined property; nothing is entered.
    ERDBObjProperty property(long key) const;
    ERDBObjPropertyTable const& properties() const { return table; }

    void color(int value) { property(color_key, value); }
    void level(int value) { property(level_key, value); }
    void name(char const* text) { property(name_key, text); }
    void color_rgb(unsigned long value) { property(color_rgb_key, value); }
    void level_name(char const* text) { property(level_name_key, text); }
    void set_faults(int value) { property(faults_key, value); }

    int color() const { return property(color_key); }
    int level() const { return property(level_key); }
    unsigned long color_rgb() const { return property(color_rgb_key); }
    int num_faults() const { return property(faults_key); }
    /// "" where there is none; an undefined property is then entered, which makes the record 5
    /// bytes longer, part of the contract. The text is good until the property changes.
    char const* name() const { return text_of(name_key); }
    char const* level_name() const { return text_of(level_name_key); }

    void object(t_SmartPtr<ERObject> described);
    t_SmartPtr<ERObject> object() const { return described_object; }

    ERObject* getCopy() const override; ///< null, part of the contract
    int type() const { return 0; }
    void printOn(std::ostream& out) const override; ///< writes nothing, part of the contract
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.table);
        form(self.described_object);
    }
    ERDBObject& put(long key, ERDBObjProperty const& value);
    char const* text_of(long key) const;

    t_SmartPtr<ERObject> described_object;
    mutable ERDBObjPropertyTable table;
};
