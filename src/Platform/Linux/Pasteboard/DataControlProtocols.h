#pragma once

#include <cstdint>

#include <ext-data-control-v1.h>
#include <wlr-data-control-unstable-v1.h>

namespace vorlin {

// The two names of one protocol, under one set of names.

struct ExtDataControl {
    using Manager = ext_data_control_manager_v1;
    using Device = ext_data_control_device_v1;
    using Offer = ext_data_control_offer_v1;
    using Source = ext_data_control_source_v1;
    using DeviceListener = ext_data_control_device_v1_listener;
    using OfferListener = ext_data_control_offer_v1_listener;
    using SourceListener = ext_data_control_source_v1_listener;
    static constexpr const wl_interface& managerInterface = ext_data_control_manager_v1_interface;
    static constexpr std::uint32_t newestVersion = 1;
    static constexpr std::uint32_t primarySince = 1;
    static constexpr auto destroyManager = ext_data_control_manager_v1_destroy;
    static constexpr auto createSource = ext_data_control_manager_v1_create_data_source;
    static constexpr auto getDevice = ext_data_control_manager_v1_get_data_device;
    static constexpr auto destroyDevice = ext_data_control_device_v1_destroy;
    static constexpr auto setSelection = ext_data_control_device_v1_set_selection;
    static constexpr auto setPrimarySelection = ext_data_control_device_v1_set_primary_selection;
    static constexpr auto addDeviceListener = ext_data_control_device_v1_add_listener;
    static constexpr auto destroyOffer = ext_data_control_offer_v1_destroy;
    static constexpr auto receive = ext_data_control_offer_v1_receive;
    static constexpr auto addOfferListener = ext_data_control_offer_v1_add_listener;
    static constexpr auto destroySource = ext_data_control_source_v1_destroy;
    static constexpr auto offer = ext_data_control_source_v1_offer;
    static constexpr auto addSourceListener = ext_data_control_source_v1_add_listener;
};

struct WlrDataControl {
    using Manager = zwlr_data_control_manager_v1;
    using Device = zwlr_data_control_device_v1;
    using Offer = zwlr_data_control_offer_v1;
    using Source = zwlr_data_control_source_v1;
    using DeviceListener = zwlr_data_control_device_v1_listener;
    using OfferListener = zwlr_data_control_offer_v1_listener;
    using SourceListener = zwlr_data_control_source_v1_listener;
    static constexpr const wl_interface& managerInterface = zwlr_data_control_manager_v1_interface;
    static constexpr std::uint32_t newestVersion = 2;
    static constexpr std::uint32_t primarySince = 2;
    static constexpr auto destroyManager = zwlr_data_control_manager_v1_destroy;
    static constexpr auto createSource = zwlr_data_control_manager_v1_create_data_source;
    static constexpr auto getDevice = zwlr_data_control_manager_v1_get_data_device;
    static constexpr auto destroyDevice = zwlr_data_control_device_v1_destroy;
    static constexpr auto setSelection = zwlr_data_control_device_v1_set_selection;
    static constexpr auto setPrimarySelection = zwlr_data_control_device_v1_set_primary_selection;
    static constexpr auto addDeviceListener = zwlr_data_control_device_v1_add_listener;
    static constexpr auto destroyOffer = zwlr_data_control_offer_v1_destroy;
    static constexpr auto receive = zwlr_data_control_offer_v1_receive;
    static constexpr auto addOfferListener = zwlr_data_control_offer_v1_add_listener;
    static constexpr auto destroySource = zwlr_data_control_source_v1_destroy;
    static constexpr auto offer = zwlr_data_control_source_v1_offer;
    static constexpr auto addSourceListener = zwlr_data_control_source_v1_add_listener;
};

} // namespace vorlin
