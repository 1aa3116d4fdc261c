import QtQuick
import Vantry.Panels
import Vantry.Style

/// What the agent asks, with its options. An option that can't be taken from here brings the terminal forward.
ScrollColumn {
    id: root

    required property ChatViewModel model

    readonly property var asked: model.questions
    /// An option has just been taken.
    readonly property bool isAnswered: !model.canAnswer && model.answerRefusal === ""

    implicitHeight: contentHeight
    ground: Theme.tint
    margins: 0
    spacing: Tokens.sp8

    ActionTitle {
        width: parent.width
        visible: root.asked.length === 0
        symbol: "questionmark.circle.fill"
        text: qsTr("Claude is asking a question")
    }
    Label {
        width: parent.width
        visible: text !== ""
        wrapMode: Text.Wrap
        text: root.model.answerRefusal
        textStyle: Tokens.meta
        color: Theme.text2
    }
    Repeater {
        model: root.asked

        Column {
            id: question

            required property var modelData

            width: parent.width
            spacing: Tokens.sp6

            ActionTitle {
                width: parent.width
                symbol: "questionmark.circle.fill"
                text: question.modelData.question
            }
            Flow {
                width: parent.width
                spacing: Tokens.sp6

                Repeater {
                    model: question.modelData.options

                    Button {
                        id: option

                        required property int index
                        required property var modelData

                        width: Math.min(implicitWidth, parent.width)
                        size: Button.Regular
                        enabled: !root.isAnswered
                        text: modelData.label
                        Accessible.description: modelData.description
                        onClicked: root.model.answer(index)

                        // An elided label has a tooltip of its own.
                        HoverTip {
                            text: option.implicitWidth > option.width ? "" : option.modelData.description
                            focused: option.visualFocus
                        }
                    }
                }
            }
        }
    }
}
