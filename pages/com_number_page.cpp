// SPDX-License-Identifier: MIT
#include "pages/com_number_page.h"

#include "base/module_instance.h"
#include "device_records/port_database.h"
#include "install/com_name.h"
#include "module/resource.h"
#include "pages/utils.h"

namespace qx {

namespace {

constexpr ControlText kCaptions[] = {
    {IDC_COM_NUMBER_LABEL, IDS_COM_NUMBER_LABEL},
    {IDC_COM_NUMBER_GROUP, IDS_COM_NUMBER_GROUP},
    {IDC_INFORMATION_GROUP, IDS_INFORMATION_GROUP},
    {IDC_INTERFACE_TYPE_LABEL, IDS_INTERFACE_TYPE},
    {IDC_RX_FIFO_LABEL, IDS_RX_FIFO},
    {IDC_TX_FIFO_LABEL, IDS_TX_FIFO},
    {IDC_MAXIMUM_BAUD_RATE_LABEL, IDS_MAXIMUM_BAUD_RATE},
    {IDC_HELP_LABEL, IDS_NEED_HELP},
};

constexpr ControlText kTips[] = {
    {IDC_COM_NUMBER, IDS_TIP_COM_NUMBER},
};

constexpr SettingsPageData kPage{IDD_COM_NUMBER, IDS_TITLE_PORT_SETTINGS, kCaptions, kTips, kComNumberHelp};

}  // namespace

CDeviceAdvSettingPage::CDeviceAdvSettingPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element)
    : CSettingsPage(kPage, device_set, element),
      device_set_(device_set),
      element_(element),
      parent_(device_set, element) {
    // The port set serves the help topic alone, which depends on the port's kind, and the parent only tells
    // whether there is an adapter to ask. It costs one more request and one walk over the devices; nothing
    // is changed by either.
    static_cast<void>(FindInterface() && port_set_.Read() && parent_.FindParent() && bus_set_.Read());
}

void CDeviceAdvSettingPage::Initialise() {
    CreateBackground();
    PrepareTips();
    SetCaptions();
    ShowInformation();
    FillComNames();
}

void CDeviceAdvSettingPage::ShowInformation() const {
    SetItemText(IDC_INTERFACE_TYPE, bus_set_->InterfaceType.text);
    SetItemText(IDC_RX_FIFO, Format(TEXT("%d bytes"), bus_set_->RxFifoSize));
    SetItemText(IDC_TX_FIFO, Format(TEXT("%d bytes"), bus_set_->TxFifoSize));
    SetItemText(IDC_MAXIMUM_BAUD_RATE, Format(TEXT("%d baud"), bus_set_->MaximumBaudRate));
}

void CDeviceAdvSettingPage::FillComNames() {
    CPortUtil database;
    const PortDatabaseSession session(database);  // without it the list is empty
    const Text current = PortName();
    RegisterTips();
    names_ = database.ListComNames(current);
    std::vector<Text> texts;
    for (const auto& name : names_)
        texts.push_back(name.in_use ? Format(TEXT("COM%d (in use)"), name.number) : ComNameOf(name.number));
    CUtils::FillComboByText(Item(IDC_COM_NUMBER), texts, current);
}

Text CDeviceAdvSettingPage::SelectedName() const {
    const auto entry = static_cast<std::size_t>(SendMessageW(Item(IDC_COM_NUMBER), CB_GETCURSEL, 0, 0));
    return entry < names_.size() ? ComNameOf(names_[entry].number) : Text();
}

LRESULT CDeviceAdvSettingPage::Apply() {
    // A port whose name is not in the list has nothing selected, and nobody asked for another name.
    if (!HasSelection(Item(IDC_COM_NUMBER)))
        return kAccepted;
    CCOMPortUtil port(device_set_, element_);
    const Text name = SelectedName();
    // Number 0 would come of an empty name.
    if (!name.empty() &&
        port.RenameComPort(name, {.owner = Window(), .confirm_if_open = true, .reenumerate = true}))
        return kAccepted;
    ShowMessage(LoadText(IDS_RENAME_FAILED), TEXT("Error"), MB_OK | MB_ICONERROR);
    return kRefused;
}

}  // namespace qx
