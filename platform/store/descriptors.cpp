// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramareas.h"
#include "platform/store/paramrow.h"

#include <memory>
#include <mutex>
#include <unordered_map>

ParamRow &ParamRow::defaults(unsigned value)
{
    number = value;
    return *this;
}

ParamRow &ParamRow::defaults(const std::string &value)
{
    text = value;
    return *this;
}

ParamRow &ParamRow::range(unsigned lowest, unsigned highest)
{
    minimum = lowest;
    maximum = highest;
    return *this;
}

ParamRow &ParamRow::in(const std::string &unitName)
{
    unit = unitName;
    return *this;
}

ParamRow &ParamRow::with(std::initializer_list<const char *> attributeNames)
{
    attributes.insert(attributes.end(), attributeNames.begin(), attributeNames.end());
    return *this;
}

namespace {

ParamRow makeRow(eParam_t id, const char *name, ParamDescriptor::Type type, ParamRow::Keep keep,
                 const char *help)
{
    ParamRow row;
    row.id = id;
    row.name = name;
    row.type = type;
    row.keep = keep;
    row.help = help;
    return row;
}

/// A part of the table, and what people look for it under.
struct Area
{
    const char *name;
    std::vector<ParamRow> (*rows)();
};
constexpr Area areas[] = {{"transport", transportRows},
                          {"media and clips", mediaRows},
                          {"picture", pictureRows},
                          {"sound and timecode", soundAndTimecodeRows},
                          {"recording and playback", recordAndPlaybackRows},
                          {"control", controlRows},
                          {"alarms", alarmRows}};

/// The whole table and its indices. Built once, never changed afterwards.
class DescriptorTable
{
public:
    DescriptorTable()
    {
        for (const Area &area : areas)
            for (ParamRow &row : area.rows()) {
                _areas.emplace(row.id, area.name);
                _rows.push_back(std::make_unique<ParamRow>(std::move(row)));
            }
        for (const auto &row : _rows) {
            std::unique_ptr<ParamDescriptor> descriptor;
            if (row->type == ParamDescriptor::String)
                descriptor = std::make_unique<StringDescriptor>(*row);
            else if (row->type == ParamDescriptor::Data)
                descriptor = std::make_unique<DataDescriptor>(*row);
            else
                descriptor = std::make_unique<ParamDescriptor>(*row);
            _byId.emplace(row->id, descriptor.get());
            _byName.emplace(row->name, descriptor.get());
            _all.push_back(descriptor.get());
            _descriptors.push_back(std::move(descriptor));
        }
    }

    const ParamDescriptor *byId(eParam_t id) const
    {
        const auto found = _byId.find(id);
        return found == _byId.end() ? nullptr : found->second;
    }

    const ParamDescriptor *byName(const std::string &name) const
    {
        const auto found = _byName.find(name);
        return found == _byName.end() ? nullptr : found->second;
    }

    const std::vector<const ParamDescriptor *> &all() const { return _all; }

    const char *areaOf(eParam_t id) const
    {
        const auto found = _areas.find(id);
        return found == _areas.end() ? "" : found->second;
    }

private:
    std::vector<std::unique_ptr<ParamRow>> _rows;
    std::vector<std::unique_ptr<ParamDescriptor>> _descriptors;
    std::unordered_map<std::uint32_t, const char *> _areas;
    std::unordered_map<std::uint32_t, const ParamDescriptor *> _byId;
    std::unordered_map<std::string, const ParamDescriptor *> _byName;
    std::vector<const ParamDescriptor *> _all;
};

std::once_flag tableOnce;
// Lives until the process ends, on purpose: listeners may still ask while static objects die.
const DescriptorTable *table = nullptr;

} // namespace

ParamRow enumeration(eParam_t id, const char *name, ParamRow::Keep keep, std::vector<ParamRow::Label> labels,
                     const char *help)
{
    ParamRow row = makeRow(id, name, ParamDescriptor::Enumerated, keep, help);
    row.labels = std::move(labels);
    return row;
}

ParamRow boolean(eParam_t id, const char *name, ParamRow::Keep keep, const char *help)
{
    ParamRow row = makeRow(id, name, ParamDescriptor::Bool, keep, help);
    row.labels = {{0, "off"}, {1, "on"}};
    return row;
}

ParamRow number(eParam_t id, const char *name, ParamRow::Keep keep, const char *help)
{
    return makeRow(id, name, ParamDescriptor::Unsigned, keep, help);
}

ParamRow string(eParam_t id, const char *name, ParamRow::Keep keep, const char *help)
{
    return makeRow(id, name, ParamDescriptor::String, keep, help);
}

ParamRow data(eParam_t id, const char *name, ParamRow::Keep keep, const char *help)
{
    return makeRow(id, name, ParamDescriptor::Data, keep, help);
}

void CreateDescriptors()
{
    std::call_once(tableOnce, [] { table = new DescriptorTable; });
}

const ParamDescriptor *GetDescriptor(eParam_t id)
{
    return table ? table->byId(id) : nullptr;
}

std::string parameterArea(eParam_t id)
{
    return table ? table->areaOf(id) : "";
}

const ParamDescriptor *FindDescriptor(const std::string &name)
{
    return table ? table->byName(name) : nullptr;
}

const std::vector<const ParamDescriptor *> &AllDescriptors()
{
    static const std::vector<const ParamDescriptor *> none;
    return table ? table->all() : none;
}
