// Placeholder: shows the data as text.
export const summary = JSON.parse(document.getElementById("summary").textContent);
document.getElementById("main").textContent = JSON.stringify(summary, null, 1);
