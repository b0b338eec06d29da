import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Templates as T
import TavikUi

// The sync account: server, user and password, with 连接 and 断开. Connecting runs
// discovery first and stores nothing that did not work; the fields then show the account.
ColumnLayout {
    id: form

    required property CloudAccount account
    readonly property bool busy: account ? account.busy : false
    readonly property bool configured: account ? account.configured : false
    // A stored account whose password could not be read takes a new one in place.
    readonly property bool needsPassword: account ? account.needsPassword : false
    readonly property bool editable: (!configured || needsPassword) && !busy

    spacing: 6

    component FormRow: Item {
        id: formRow
        property string label
        default property alias control: slot.data
        Layout.fillWidth: true
        implicitHeight: 36

        Text {
            id: rowLabel
            x: 12
            width: 64
            anchors.verticalCenter: parent.verticalCenter
            text: formRow.label
            font.pixelSize: 14
            color: Radix.primaryText
        }
        Item {
            id: slot
            anchors.left: rowLabel.right
            anchors.leftMargin: 8
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.top: parent.top
            anchors.bottom: parent.bottom
        }
    }
    component FormField: TextInput {
        property string placeholder
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        font.pixelSize: 14
        color: enabled ? Radix.primaryText : Radix.secondaryText
        selectByMouse: true
        activeFocusOnTab: true
        clip: true
        horizontalAlignment: TextInput.AlignRight

        Text {
            anchors.fill: parent
            visible: parent.text.length === 0 && !parent.inputMethodComposing
            text: parent.placeholder
            font: parent.font
            color: Radix.tertiaryText
            horizontalAlignment: Text.AlignRight
            elide: Text.ElideLeft
        }
    }
    component RowRule: Rectangle {
        Layout.fillWidth: true
        Layout.leftMargin: 12
        implicitHeight: 1
        color: Radix.sandA4
    }
    component FormButton: T.Button {
        id: button
        focusPolicy: Qt.NoFocus
        hoverEnabled: true
        horizontalPadding: 12
        verticalPadding: 5
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        contentItem: Text {
            text: button.text
            font.pixelSize: 14
            color: button.enabled ? Radix.primaryText : Radix.tertiaryText
        }
        background: Rectangle {
            radius: 6
            color: Radix.sand1
            border.width: 1
            border.color: button.hovered && button.enabled ? Radix.sandA7 : Radix.sandA4
        }
    }

    // With no account yet, the caret waits in the first field; with a lost password, there.
    function focusFirstField() {
        if (needsPassword)
            passwordField.forceActiveFocus()
        else if (!configured)
            serverField.forceActiveFocus()
    }

    function connectAccount() {
        if (editable)
            account.connectAccount(serverField.text, userField.text, passwordField.text)
    }

    // The stored account fills the fields; the password never comes back from the key store.
    function showStoredAccount() {
        serverField.text = account ? account.serverUrl : ""
        userField.text = account ? account.username : ""
        passwordField.text = ""
    }
    onAccountChanged: showStoredAccount()
    Component.onCompleted: showStoredAccount()
    Connections {
        target: form.account
        function onAccountChanged() {
            form.showStoredAccount()
        }
    }

    Text {
        Layout.leftMargin: 12
        Layout.topMargin: 4
        text: "同步账户（CalDAV）"
        font.pixelSize: 12
        font.weight: Font.DemiBold
        color: Radix.secondaryText
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: fields.implicitHeight + 4
        radius: 8
        color: Radix.controlBackground
        border.width: 1
        border.color: Radix.sandA4

        ColumnLayout {
            id: fields
            anchors.fill: parent
            anchors.margins: 2
            spacing: 0

            FormRow {
                label: "服务器"
                FormField {
                    id: serverField
                    objectName: "syncServerField"
                    placeholder: "https://example.com/dav/"
                    enabled: !form.configured && !form.busy
                    inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoAutoUppercase
                    onAccepted: userField.forceActiveFocus()
                }
            }
            RowRule {}
            FormRow {
                label: "用户名"
                FormField {
                    id: userField
                    objectName: "syncUserField"
                    placeholder: "必填"
                    enabled: !form.configured && !form.busy
                    inputMethodHints: Qt.ImhNoAutoUppercase
                    onAccepted: passwordField.forceActiveFocus()
                }
            }
            RowRule {}
            FormRow {
                label: "密码"
                FormField {
                    id: passwordField
                    objectName: "syncPasswordField"
                    placeholder: !form.configured ? "必填"
                               : form.needsPassword ? "请重新输入密码"
                               : form.account.messageIsError ? "" : "已保存在钥匙串中"
                    enabled: form.editable
                    echoMode: TextInput.Password
                    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
                    onAccepted: form.connectAccount()
                }
            }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.leftMargin: 12
        Layout.rightMargin: 12
        spacing: 8

        FormButton {
            objectName: "syncConnectButton"
            text: form.needsPassword ? "重新连接" : "连接"
            enabled: form.editable && serverField.text.length > 0
                     && userField.text.length > 0 && passwordField.text.length > 0
            onClicked: form.connectAccount()
        }
        FormButton {
            objectName: "syncDisconnectButton"
            text: "断开"
            enabled: form.configured && !form.busy
            onClicked: form.account.disconnectAccount()
        }
        BusyIndicator {
            visible: form.busy
            running: visible
            Layout.preferredWidth: 18
            Layout.preferredHeight: 18
        }
        Item {
            Layout.fillWidth: true
        }
    }
    Text {
        objectName: "syncAccountMessage"
        Layout.fillWidth: true
        Layout.leftMargin: 12
        Layout.rightMargin: 12
        visible: text.length > 0
        text: form.account ? form.account.message : ""
        wrapMode: Text.Wrap
        font.pixelSize: 12
        color: form.account && form.account.messageIsError ? Radix.red11 : Radix.secondaryText
    }
}
