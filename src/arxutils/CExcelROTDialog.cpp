#include "arxutils/CExcelROTDialog.h"

#include <cstdlib>

#include "arxutils/excel/ExcelServer.h"
#include "base/Text.h"
#include "host/Editor.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace arxutils {

namespace {

// The terminal's answer: a number of the list or a listed name; nothing is a cancel.
CExcelROTDialog::Result AskOnTerminal(CExcelROTDialog& dialog) {
    // A workbook named on the command line is the answer, as if picked from the list.
    if (std::string chosen = excel::CurrentServer().ChosenInAdvance(); !chosen.empty())
        for (std::size_t i = 0; i < dialog.m_List.size(); ++i)
            if (base::EqualNoCase(dialog.m_List[i], chosen)) {
                dialog.m_Selected = static_cast<int>(i);
                return dialog.OnOK() ? CExcelROTDialog::IDOK : CExcelROTDialog::IDCANCEL;
            }
    host::Printf("\n%s", CExcelROTDialog::kTitle);
    if (!dialog.m_Message.empty()) host::Printf("\n%s", dialog.m_Message);
    host::Printf("\n%s", CExcelROTDialog::kPrompt);
    for (std::size_t i = 0; i < dialog.m_List.size(); ++i)
        host::Printf("\n  %d. %s", static_cast<int>(i + 1), dialog.m_List[i]);
    for (;;) {
        std::string answer;
        if (host::CurrentEditor().GetString(true, "\nWorkbook number or name: ", answer) != host::RTNORM)
            return CExcelROTDialog::IDCANCEL;
        answer = base::Trim(answer);
        if (answer.empty()) return CExcelROTDialog::IDCANCEL;
        dialog.m_Selected = -1;
        int number = std::atoi(answer.c_str());
        if (number >= 1 && number <= static_cast<int>(dialog.m_List.size()) && std::to_string(number) == answer)
            dialog.m_Selected = number - 1;
        for (std::size_t i = 0; dialog.m_Selected < 0 && i < dialog.m_List.size(); ++i)
            if (base::EqualNoCase(dialog.m_List[i], answer)) dialog.m_Selected = static_cast<int>(i);
        if (dialog.OnOK()) return CExcelROTDialog::IDOK;
    }
}

CExcelROTDialog::Runner& CurrentRunner() {
    static CExcelROTDialog::Runner runner = AskOnTerminal;
    return runner;
}

}  // namespace

bool CExcelROTDialog::IsListedName(const std::string& name) {
    if (base::Length(name) < 5 || name.front() == '!') return false;
    return base::Right(name, 5).find(".xls") != std::string::npos;
}

bool CExcelROTDialog::OnInitDialog() {
    m_List.clear();
    m_Selected = -1;
    std::vector<std::string> names;
    excel::CurrentServer().RunningObjects(names);
    for (const std::string& name : names) {
        if (base::EqualNoCase(name, excel::kInstanceMoniker)) {
            if (!m_Message.empty()) m_Message += "\n";
            m_Message += "Find Microsoft Excel.";
        } else if (IsListedName(name) || excel::CurrentServer().AlsoListed(name)) {
            m_List.push_back(name);
        }
    }
    if (!m_List.empty()) return true;
    m_Message += "\nPlease start Excel and open the exported workbook first.";
    if (std::string advice = excel::CurrentServer().ConnectionAdvice(); !advice.empty()) m_Message += "\n" + advice;
    host::ShowMessage(m_Message, "Velmar", host::BoxIcon::Information);
    return false;
}

bool CExcelROTDialog::OnOK() {
    if (m_Selected < 0 || m_Selected >= static_cast<int>(m_List.size())) {
        host::ShowMessage("Please select a workbook.", "Velmar", host::BoxIcon::Information);
        return false;
    }
    m_MonikerName = m_List[static_cast<std::size_t>(m_Selected)];
    return true;
}

CExcelROTDialog::Result CExcelROTDialog::DoModal() {
    if (!OnInitDialog()) return IDCANCEL;
    return CurrentRunner()(*this);
}

void CExcelROTDialog::SetRunner(Runner runner) {
    CurrentRunner() = runner ? std::move(runner) : Runner(AskOnTerminal);
}

}  // namespace arxutils
