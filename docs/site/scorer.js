// In what order a search gives what it finds. The numbers are Sphinx's own. Besides, functions and classes whose names only
// contain the word come behind the pages that explain it, as the headers have many; and pages for users come before those
// for who changes the code, where both have the word as often.
const soughtName = (new URLSearchParams(window.location.search).get("q") ?? "").trim().toLowerCase();

var Scorer = {
    score: ([page, title, anchor, description, score, file, kind]) => {
        if (kind === "object")
            return title.toLowerCase().split(/::|\./).pop() === soughtName ? score + 5 : score - 8;
        return /^docs\/(?!benchmarks|development|reference)/.test(page) ? score + 1 : score;
    },
    objNameMatch: 11,
    objPartialMatch: 6,
    objPrio: { 0: 15, 1: 5, 2: -5 },
    objPrioDefault: 0,
    title: 15,
    partialTitle: 7,
    term: 5,
    partialTerm: 2,
};
