#pragma once

#include "AppModel.h"
#include "Settings/SettingsView.h"
#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vorlin {

/// The settings over a whole desktop that the test plays.
class SettingsFixture : public testing::Test {
protected:
    void open()
    {
        settings.reset();
        model = std::make_unique<AppModel>(desktop.ports());
        openWindow();
    }
    void openWindow()
    {
        settings = std::make_unique<SettingsView>(*model, desktop.ports(), build);
        desktop.loop.runReady();
    }

    const Form& form(SettingsTab tab) const { return settings->tab(tab).form.get(); }
    /// The row of this id; fails the test where there is none.
    static const FormRow& rowIn(const Form& form, const std::string& id)
    {
        for (const auto& section : form) {
            for (const auto& row : section.rows) {
                if (row.id == id) {
                    return row;
                }
            }
        }
        throw std::runtime_error("no row " + id);
    }
    const FormRow& row(SettingsTab tab, const std::string& id) const
    {
        return rowIn(form(tab), id);
    }
    template <class Control>
    const Control& control(SettingsTab tab, const std::string& id) const
    {
        return std::get<Control>(row(tab, id).control);
    }
    bool hasRow(SettingsTab tab, const std::string& id) const
    {
        const auto& sections = form(tab);
        return std::ranges::any_of(sections, [&id](const FormSection& section) {
            return std::ranges::count(section.rows, id, &FormRow::id) > 0;
        });
    }
    static std::vector<std::string> labels(const PickerControl& picker)
    {
        std::vector<std::string> found;
        for (const auto& choice : picker.choices) {
            found.push_back(choice.label);
        }
        return found;
    }
    static std::vector<std::string> rowIds(const FormSection& section)
    {
        std::vector<std::string> found;
        for (const auto& row : section.rows) {
            found.push_back(row.id);
        }
        return found;
    }

    FakePorts desktop;
    BuildFacts build{"1.2.3", "The makers", ""};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<SettingsView> settings;
};

} // namespace vorlin
